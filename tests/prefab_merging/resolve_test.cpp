#include <prefab_merging/merge.h>
#include <prefab_merging/resolution.h>
#include <support/prefab_text.h>

#include <string>

#include <gtest/gtest.h>

namespace Kiln::PrefabMerging {
namespace {

using TestSupport::element;
using TestSupport::id;
using TestSupport::PrefabText;

/// Two lamps; their names and the tag of the second one.
[[nodiscard]] std::string twoLamps(const std::string& first, const std::string& second) {
    PrefabText prefab;
    prefab.root(id(1), "Pier");
    prefab.component("TagComponent", prefab.child(id(2), "Lamp", id(1)), element("tag", first));
    prefab.component("TagComponent", prefab.child(id(3), "Mast", id(1)), element("tag", second));
    return prefab.text();
}

[[nodiscard]] std::string conflicting() {
    return mergePrefabs(twoLamps("a", "a"), twoLamps("b", "b"), twoLamps("c", "c")).text;
}

TEST(Resolve, forTheirs_putsTheirValuesThere) {
    const ResolvedText resolved = resolveConflicts(conflicting(), {Preference::THEIRS, std::nullopt});
    EXPECT_EQ(resolved.text, twoLamps("c", "c"));
    EXPECT_EQ(resolved.resolvedCount, 2U);
    EXPECT_TRUE(resolved.failed.empty());
}

TEST(Resolve, forOurs_removesOnlyTheComments) {
    const ResolvedText resolved = resolveConflicts(conflicting(), {Preference::OURS, std::nullopt});
    EXPECT_EQ(resolved.text, twoLamps("b", "b"));
    EXPECT_EQ(resolved.resolvedCount, 2U);
}

TEST(Resolve, ofOneObject_leavesTheOtherConflicts) {
    const ResolvedText first = resolveConflicts(conflicting(), {Preference::THEIRS, id(3)});
    EXPECT_EQ(first.resolvedCount, 1U);
    ASSERT_EQ(findMarkers(first.text).size(), 1U);
    EXPECT_EQ(findMarkers(first.text)[0].conflict.place.object, id(2));
    EXPECT_EQ(resolveConflicts(first.text, {Preference::OURS, std::nullopt}).text, twoLamps("b", "c"));
}

TEST(Resolve, ofARemovedObject_bringsItBack) {
    PrefabText removed;
    removed.root(id(1), "Pier");
    PrefabText changed;
    changed.root(id(1), "Pier");
    changed.child(id(2), "Lantern", id(1));
    PrefabText base;
    base.root(id(1), "Pier");
    base.child(id(2), "Lamp", id(1));
    const MergeResult merged = mergePrefabs(base.text(), removed.text(), changed.text());
    ASSERT_EQ(merged.conflicts.size(), 1U);
    EXPECT_EQ(resolveConflicts(merged.text, {Preference::THEIRS, std::nullopt}).text, changed.text());
    const MergeResult swapped = mergePrefabs(base.text(), changed.text(), removed.text());
    removed.component("HierarchyComponent", 0); // For a pool, which stays without components.
    const std::string item = element("item", element("gameObject", "0") + element("properties", ""));
    std::string expected = removed.text();
    expected.erase(expected.find(item), item.size());
    EXPECT_EQ(resolveConflicts(swapped.text, {Preference::THEIRS, std::nullopt}).text, expected);
}

TEST(Resolve, aConflictWithoutPlace_staysAndIsReported) {
    PrefabText other;
    other.root(id(1), "Pier");
    const std::string marker = markerText(findMarkers(conflicting())[0].conflict);
    const std::string text = other.raw(marker).text();
    const ResolvedText resolved = resolveConflicts(text, {Preference::THEIRS, std::nullopt});
    EXPECT_EQ(resolved.text, text);
    EXPECT_EQ(resolved.resolvedCount, 0U);
    ASSERT_EQ(resolved.failed.size(), 1U);
    EXPECT_EQ(describe(resolved.failed[0].place), "TagComponent.tag of " + id(2).toString());
}

} // namespace
} // namespace Kiln::PrefabMerging
