#include <prefab_merging/merge.h>
#include <prefab_merging/resolution.h>
#include <support/prefab_text.h>

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabMerging {
namespace {

using TestSupport::element;
using TestSupport::id;
using TestSupport::PrefabText;

/// Game objects in an order, each with a tag that is its number.
[[nodiscard]] std::string ordered(const std::vector<unsigned>& numbers, const std::string& nameOfThird = "c") {
    PrefabText prefab;
    for (const unsigned number : numbers) {
        prefab.root(id(number), number == 3 ? nameOfThird : "o");
    }
    for (unsigned number = 1; number <= 3; ++number) {
        for (std::size_t index = 0; index < numbers.size(); ++index) {
            if (numbers[index] == number) {
                prefab.component("TagComponent", index, element("tag", std::to_string(number)));
            }
        }
    }
    return prefab.text();
}

TEST(FirstObject, changedByOneSide_isTakenWithTheChangesOfTheOther) {
    EXPECT_EQ(mergePrefabs(ordered({1, 2, 3}), ordered({1, 2, 3}, "C"), ordered({2, 1, 3})).text,
              ordered({2, 1, 3}, "C"));
    EXPECT_EQ(mergePrefabs(ordered({1, 2, 3}), ordered({1, 2, 3}, "C"), ordered({3, 1, 2})).text,
              ordered({3, 1, 2}, "C"));
    EXPECT_EQ(mergePrefabs(ordered({1, 2, 3}), ordered({2, 1, 3}), ordered({1, 2, 3}, "C")).text,
              ordered({2, 1, 3}, "C"));
}

TEST(FirstObject, removedByOneSide_isNoChangeOfTheOrder) {
    const MergeResult result = mergePrefabs(ordered({1, 2, 3}), ordered({2, 3}), ordered({1, 2, 3}, "C"));
    EXPECT_EQ(result.text, ordered({2, 3}, "C"));
    EXPECT_THAT(result.conflicts, testing::IsEmpty());
}

TEST(FirstObject, changedByBothSides_isAConflict) {
    const MergeResult result = mergePrefabs(ordered({1, 2, 3}), ordered({2, 1, 3}), ordered({3, 1, 2}));
    ASSERT_EQ(result.conflicts.size(), 1U);
    const Conflict& conflict = result.conflicts.front();
    EXPECT_EQ(describe(conflict.place) + ": " + conflict.reason, "the first game object: both sides have changed it");
    EXPECT_EQ(conflict.base, element("uuid", id(1).toString()));
    EXPECT_EQ(conflict.ours, element("uuid", id(2).toString()));
    EXPECT_EQ(conflict.theirs, element("uuid", id(3).toString()));
    EXPECT_EQ(resolveConflicts(result.text, {Preference::OURS, std::nullopt}).text, ordered({2, 1, 3}));
    EXPECT_EQ(resolveConflicts(result.text, {Preference::THEIRS, std::nullopt}).text, ordered({3, 2, 1}));
}

TEST(FirstObject, whichTheOtherSideHasRemoved_isAConflict) {
    const MergeResult result = mergePrefabs(ordered({1, 2, 3}), ordered({1, 3}), ordered({2, 1, 3}));
    ASSERT_EQ(result.conflicts.size(), 2U);
    const std::string reason = "one side has removed an object that a change of the other side needs";
    EXPECT_EQ(describe(result.conflicts[0].place), "the first game object");
    EXPECT_EQ(result.conflicts[0].reason, reason);
    EXPECT_EQ(describe(result.conflicts[1].place), "game object " + id(2).toString());
    EXPECT_EQ(result.conflicts[1].reason, reason);
    EXPECT_THAT(result.text, testing::HasSubstr("\"kind\":\"firstObject\""));
}

TEST(FirstObject, ofAnOldRootBelowANewOne_isTheNewRoot) {
    PrefabText base;
    base.root(id(1), "Pier");
    base.child(id(2), "Lamp", id(1));
    PrefabText ours;
    ours.root(id(1), "Quay");
    ours.child(id(2), "Lamp", id(1));
    PrefabText theirs;
    theirs.root(id(2), "Lamp");
    theirs.child(id(1), "Pier", id(2));
    PrefabText merged;
    merged.root(id(2), "Lamp");
    merged.child(id(1), "Quay", id(2));
    const MergeResult result = mergePrefabs(base.text(), ours.text(), theirs.text());
    EXPECT_EQ(result.text, merged.text());
    EXPECT_THAT(result.conflicts, testing::IsEmpty());
}

} // namespace
} // namespace Kiln::PrefabMerging
