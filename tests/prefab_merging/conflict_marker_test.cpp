#include <prefab_merging/conflict_marker.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabMerging {
namespace {

[[nodiscard]] Conflict sampleConflict() {
    Conflict conflict;
    conflict.place.kind = Place::Kind::PROPERTY;
    conflict.place.object = Uuid(1, 2);
    conflict.place.component = "LampComponent";
    conflict.place.componentNumber = 1;
    conflict.place.element = "brightness";
    conflict.place.number = 2;
    conflict.place.overrides = {{Uuid(3, 4).toString(), "A", "b"}};
    conflict.reason = "both sides have changed it";
    conflict.base = "<brightness><!-- -- --></brightness>";
    conflict.theirs = "<b>\xff\xfe not UTF-8 --> ]]> \"quoted\"</b>";
    return conflict;
}

TEST(ConflictMarker, isReadAsItWasWritten) {
    const Conflict conflict = sampleConflict();
    const std::vector<ConflictMarker> markers = findMarkers("<a>" + markerText(conflict) + "</a>");
    ASSERT_EQ(markers.size(), 1U);
    EXPECT_EQ(markers[0].conflict.place, conflict.place);
    EXPECT_EQ(markers[0].conflict.reason, conflict.reason);
    EXPECT_EQ(markers[0].conflict.base, conflict.base);
    EXPECT_EQ(markers[0].conflict.ours, std::nullopt);
    EXPECT_EQ(markers[0].conflict.theirs, conflict.theirs);
    EXPECT_EQ(markers[0].range.begin, 3U);
}

TEST(ConflictMarker, isAWellFormedCommentInAscii) {
    const std::string text = markerText(sampleConflict());
    EXPECT_THAT(text, testing::StartsWith("<!-- kiln-prefab conflict {\"version\":1,"));
    EXPECT_THAT(text, testing::EndsWith("} -->"));
    EXPECT_EQ(text.substr(4, text.size() - 7).find("--"), std::string::npos);
    EXPECT_TRUE(
        std::all_of(text.begin(), text.end(), [](char character) { return character >= ' ' && character < 127; }));
}

TEST(ConflictMarker, insideOfACdataSectionOrAnotherComment_isNone) {
    const std::string marker = markerText(sampleConflict());
    EXPECT_TRUE(findMarkers("<a><![CDATA[" + marker + "]]></a>").empty());
    EXPECT_TRUE(findMarkers("<!-- " + marker).empty());
}

TEST(ConflictMarker, thatSomebodyHasDamaged_isNone) {
    std::string marker = markerText(sampleConflict());
    EXPECT_TRUE(findMarkers(marker.erase(40, 1)).empty());
    EXPECT_TRUE(findMarkers("<!-- kiln-prefab conflict {} -->").empty());
    EXPECT_TRUE(findMarkers("<!-- kiln-prefab conflict ").empty());
}

TEST(ConflictMarker, withAValueThatItsPlaceCannotHave_isNone) {
    Conflict conflict = sampleConflict();
    for (const char* const value : {"", "<b", "</properties></item>", "<b/><b/>", "<other/>", "text"}) {
        conflict.theirs = value;
        EXPECT_TRUE(findMarkers(markerText(conflict)).empty()) << value;
    }
    conflict.theirs = "<b>1</b>";
    EXPECT_EQ(findMarkers(markerText(conflict)).size(), 1U);
    conflict.place = Place();
    conflict.place.kind = Place::Kind::COMPONENT;
    conflict.place.object = Uuid(1, 2);
    conflict.place.component = "LampComponent";
    conflict.theirs = "<pool><type>LampComponent</type></pool>";
    EXPECT_TRUE(findMarkers(markerText(conflict)).empty());
    conflict.theirs = "<pool><type>LampComponent</type><item><gameObject>0</gameObject></item></pool>";
    EXPECT_EQ(findMarkers(markerText(conflict)).size(), 1U);
}

} // namespace
} // namespace Kiln::PrefabMerging
