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
using TestSupport::OverridesText;
using TestSupport::PrefabText;

[[nodiscard]] std::string pier(const std::string& overrides, const std::string& resource = "lamp.prefab") {
    PrefabText prefab;
    prefab.root(id(1), "Pier");
    prefab.nested(id(2), "Lamp", id(1), resource, overrides);
    return prefab.text();
}

[[nodiscard]] std::string bulb(const std::string& properties) {
    return OverridesText().record(id(7), "BulbComponent", properties).text();
}

[[nodiscard]] std::vector<std::string> conflictPlaces(const MergeResult& result) {
    std::vector<std::string> texts;
    for (const Conflict& conflict : result.conflicts) {
        texts.push_back(describe(conflict.place));
    }
    return texts;
}

const std::string POINT = id(2).toString();

TEST(OverrideMerge, propertiesOfOneRecord_areMerged) {
    const std::string watt = element("watt", "1");
    const MergeResult result =
        mergePrefabs(pier(bulb(watt + element("hue", "1"))), pier(bulb(watt + element("hue", "2"))),
                     pier(bulb(element("watt", "3") + element("hue", "1"))));
    EXPECT_EQ(result.text, pier(bulb(element("watt", "3") + element("hue", "2"))));
    EXPECT_THAT(conflictPlaces(result), testing::IsEmpty());
}

TEST(OverrideMerge, recordsThatBothSidesAdd_areBothKept) {
    const auto overrides = [](std::uint64_t object) {
        return OverridesText().record(id(object), "BulbComponent", element("watt", "1")).text();
    };
    const std::string both = OverridesText()
                                 .record(id(7), "BulbComponent", element("watt", "1"))
                                 .record(id(8), "BulbComponent", element("watt", "1"))
                                 .text();
    EXPECT_EQ(mergePrefabs(pier(""), pier(overrides(7)), pier(overrides(8))).text, pier(both));
}

TEST(OverrideMerge, aRecordThatOneSideRemoves_isRemoved) {
    const std::string two = OverridesText()
                                .record(id(7), "BulbComponent", element("watt", "1"))
                                .record(id(8), "BulbComponent", element("watt", "1"))
                                .text();
    const std::string changed = OverridesText()
                                    .record(id(7), "BulbComponent", element("watt", "2"))
                                    .record(id(8), "BulbComponent", element("watt", "1"))
                                    .text();
    EXPECT_EQ(mergePrefabs(pier(two), pier(changed), pier(bulb(element("watt", "1")))).text,
              pier(bulb(element("watt", "2"))));
}

TEST(OverrideMerge, differentChangesOfOneProperty_areAConflictOfThatRecord) {
    const MergeResult result = mergePrefabs(pier(bulb(element("watt", "1"))), pier(bulb(element("watt", "2"))),
                                            pier(bulb(element("watt", "3"))));
    EXPECT_THAT(conflictPlaces(result),
                testing::ElementsAre("PrefabComponent.overridesData of " + POINT +
                                     ", override of BulbComponent.watt of " + id(7).toString()));
    EXPECT_EQ(resolveConflicts(result.text, {Preference::THEIRS, std::nullopt}).text, pier(bulb(element("watt", "3"))));
    EXPECT_EQ(resolveConflicts(result.text, {Preference::OURS, std::nullopt}).text, pier(bulb(element("watt", "2"))));
}

TEST(OverrideMerge, overridesInsideOfOverrides_areMergedByRecord) {
    const auto nested = [](const std::string& watt, const std::string& hue) {
        const std::string inner =
            OverridesText().record(id(7), "BulbComponent", element("watt", watt) + element("hue", hue)).escapedText();
        return pier(OverridesText().record(id(5), "PrefabComponent", element("overridesData", inner)).text());
    };
    EXPECT_EQ(mergePrefabs(nested("1", "1"), nested("2", "1"), nested("1", "2")).text, nested("2", "2"));
    const MergeResult result = mergePrefabs(nested("1", "1"), nested("2", "1"), nested("3", "2"));
    EXPECT_THAT(conflictPlaces(result),
                testing::ElementsAre("PrefabComponent.overridesData of " + POINT +
                                     ", override of PrefabComponent.overridesData of " + id(5).toString() +
                                     ", override of BulbComponent.watt of " + id(7).toString()));
    EXPECT_EQ(resolveConflicts(result.text, {Preference::THEIRS, std::nullopt}).text, nested("3", "2"));
}

TEST(OverrideMerge, overridesThatAreNotWellFormed_areAConflictAsAWhole) {
    const MergeResult result = mergePrefabs(pier(bulb("")), pier("<overrides>"), pier(bulb(element("watt", "3"))));
    EXPECT_THAT(conflictPlaces(result), testing::ElementsAre("PrefabComponent.overridesData of " + POINT));
}

TEST(OverrideMerge, anotherNestedPrefabAndAnotherOverride_areConflicts) {
    const MergeResult result =
        mergePrefabs(pier(bulb(element("watt", "1"))), pier(bulb(element("watt", "1")), "mast.prefab"),
                     pier(bulb(element("watt", "3"))));
    EXPECT_THAT(conflictPlaces(result), testing::ElementsAre("PrefabComponent.overridesData of " + POINT,
                                                             "PrefabComponent.resource of " + POINT));
}

} // namespace
} // namespace Kiln::PrefabMerging
