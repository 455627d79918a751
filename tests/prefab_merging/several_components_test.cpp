#include <prefab_merging/merge.h>
#include <prefab_merging/resolution.h>
#include <support/prefab_text.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabMerging {
namespace {

using TestSupport::element;
using TestSupport::id;
using TestSupport::PrefabText;

/// A root with several components of one type, by the value of a property.
[[nodiscard]] std::string tagged(const std::vector<std::string>& tags, const std::string& name = "Pier") {
    PrefabText prefab;
    prefab.root(id(1), name);
    for (const std::string& tag : tags) {
        prefab.component("TagComponent", 0, element("tag", tag));
    }
    return prefab.text();
}

[[nodiscard]] std::vector<std::string> reasonsOf(const MergeResult& result) {
    std::vector<std::string> reasons;
    for (const Conflict& conflict : result.conflicts) {
        reasons.push_back(describe(conflict.place) + ": " + conflict.reason);
    }
    return reasons;
}

struct Removals {
    std::vector<std::string> base;
    std::vector<std::string> ours;
    std::vector<std::string> theirs;
    std::vector<std::string> merged;
};

TEST(SeveralComponents, removedByBothSides_areMatchedByTheirContent) {
    const std::vector<Removals> cases{{{"1", "2", "3"}, {"2", "3"}, {"1", "2"}, {"2"}},
                                      {{"1", "2", "3"}, {"3"}, {"1", "3"}, {"3"}},
                                      {{"1", "1", "2"}, {"1", "2"}, {"1", "1"}, {"1"}},
                                      {{"1", "2", "3", "4"}, {"1", "2", "3"}, {"2", "3", "4"}, {"2", "3"}}};
    for (const Removals& removals : cases) {
        const MergeResult result = mergePrefabs(tagged(removals.base), tagged(removals.ours), tagged(removals.theirs));
        EXPECT_EQ(result.text, tagged(removals.merged));
        EXPECT_THAT(reasonsOf(result), testing::IsEmpty());
        const MergeResult swapped = mergePrefabs(tagged(removals.base), tagged(removals.theirs), tagged(removals.ours));
        EXPECT_EQ(swapped.text, tagged(removals.merged));
    }
}

TEST(SeveralComponents, allRemovedByTheTwoSidesTogether_leaveNone) {
    const MergeResult result = mergePrefabs(tagged({"1", "2"}), tagged({"2"}), tagged({"1"}));
    EXPECT_THAT(reasonsOf(result), testing::IsEmpty());
    EXPECT_THAT(result.text, testing::Not(testing::HasSubstr("<item>")));
}

TEST(SeveralComponents, removedByOneSideAndAddedByTheOther_areBoth) {
    EXPECT_EQ(mergePrefabs(tagged({"1", "2"}), tagged({"2"}), tagged({"1", "2", "3"})).text, tagged({"2", "3"}));
    EXPECT_EQ(mergePrefabs(tagged({"1", "2"}), tagged({"1", "2", "3"}), tagged({"2"})).text, tagged({"2", "3"}));
}

TEST(SeveralComponents, removedByOneSideOnly_leaveTheOtherChangesOfTheObject) {
    EXPECT_EQ(mergePrefabs(tagged({"1", "2"}), tagged({"1", "2"}, "Quay"), tagged({"2"})).text, tagged({"2"}, "Quay"));
}

TEST(SeveralComponents, removedByOneSideAndChangedByTheOther_areAllConflicts) {
    const std::string reason = ": both sides have changed the components of this type, of which there are several";
    const std::string object = " of " + id(1).toString();
    const std::string ours = tagged({"2"});
    const std::string theirs = tagged({"1", "5"});
    const MergeResult result = mergePrefabs(tagged({"1", "2"}), ours, theirs);
    EXPECT_THAT(reasonsOf(result), testing::UnorderedElementsAre("TagComponent.tag" + object + reason,
                                                                 "TagComponent[1]" + object + reason));
    EXPECT_EQ(resolveConflicts(result.text, {Preference::OURS, std::nullopt}).text, ours);
    EXPECT_EQ(resolveConflicts(result.text, {Preference::THEIRS, std::nullopt}).text, theirs);
}

TEST(SeveralElements, ofOneNameThatBothSidesHaveChanged_areAllConflicts) {
    const auto text = [](const std::string& properties) {
        return PrefabText().object(id(1), "Pier").component("LampComponent", 0, properties).text();
    };
    const std::string ours = text(element("brightness", "2"));
    const std::string theirs = text(element("brightness", "1") + element("brightness", "9"));
    const MergeResult result = mergePrefabs(text(element("brightness", "1")), ours, theirs);
    const std::string reason = ": both sides have changed the elements of this name, of which there are several";
    const std::string object = " of " + id(1).toString();
    EXPECT_THAT(reasonsOf(result), testing::UnorderedElementsAre("LampComponent.brightness" + object + reason,
                                                                 "LampComponent.brightness[1]" + object + reason));
    EXPECT_EQ(resolveConflicts(result.text, {Preference::OURS, std::nullopt}).text, ours);
    EXPECT_EQ(resolveConflicts(result.text, {Preference::THEIRS, std::nullopt}).text, theirs);
}

} // namespace
} // namespace Kiln::PrefabMerging
