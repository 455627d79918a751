// Properties that hold for the merge of all documents, tested with random documents and changes. KILN_MERGE_SEED and
// KILN_MERGE_CASES in the environment set another seed and another number of cases.

#include <prefab_merging/check_validation.h>
#include <prefab_merging/merge.h>
#include <prefab_merging/resolution.h>
#include <support/random_prefab.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Kiln::PrefabMerging {
namespace {

using TestSupport::factsOf;
using TestSupport::RandomPrefab;
using TestSupport::RandomSource;

using Facts = std::map<std::string, std::string>;

[[nodiscard]] std::uint64_t fromEnvironment(const char* name, std::uint64_t value) {
    const char* const text = std::getenv(name);
    return text ? std::stoull(text) : value;
}

[[nodiscard]] std::uint64_t caseCount(std::uint64_t share) {
    constexpr std::uint64_t ALL = 7100;
    return std::max<std::uint64_t>(1, share * fromEnvironment("KILN_MERGE_CASES", ALL) / ALL);
}

/// Calls test(source) for each case of a property, with a random source of its own.
template <class Test>
void forEachCase(std::uint64_t share, std::uint64_t property, const Test& test) {
    const std::uint64_t seed = fromEnvironment("KILN_MERGE_SEED", 20'240'611);
    for (std::uint64_t number = 0; number < caseCount(share); ++number) {
        SCOPED_TRACE("KILN_MERGE_SEED=" + std::to_string(seed) + ", case " + std::to_string(number));
        RandomSource source(seed * 1'000'003 + property * 100'000'007 + number);
        test(source);
        if (testing::Test::HasFailure()) {
            return;
        }
    }
}

[[nodiscard]] RandomPrefab randomBase(RandomSource& source) {
    return TestSupport::randomPrefab(source, 1 + TestSupport::randomBelow(source, 14));
}

[[nodiscard]] RandomPrefab changed(RandomPrefab prefab, RandomSource& source) {
    for (std::size_t count = 1 + TestSupport::randomBelow(source, 8); count > 0; --count) {
        TestSupport::changeRandomly(prefab, source);
    }
    return prefab;
}

/// The same document, written in another way.
[[nodiscard]] std::string otherText(const RandomPrefab& prefab, RandomSource& source) {
    return prefab.text(TestSupport::randomBelow(source, 4000));
}

/// The begin of the facts that a place is about.
[[nodiscard]] std::string keyOf(const Place& place) {
    const std::string uuid = place.object ? place.object->toString() : std::string();
    const std::string component = uuid + "/c/" + place.component + "/";
    switch (place.kind) {
    case Place::Kind::OBJECT:
        return uuid + "/";
    case Place::Kind::OBJECT_ELEMENT:
        return uuid + "/e/" + place.element;
    case Place::Kind::POOL:
    case Place::Kind::POOL_ELEMENT:
        return "pool/" + place.component;
    case Place::Kind::COMPONENT:
        return component;
    case Place::Kind::COMPONENT_ELEMENT:
        return component + "e/" + place.element;
    case Place::Kind::PROPERTY: {
        std::string key = component + "p/" + place.element;
        for (const OverrideKey& inner : place.overrides) {
            key += "/" + inner.object + "/" + inner.component + "/" + inner.property;
        }
        return key;
    }
    default:
        return place.element;
    }
}

[[nodiscard]] bool isCovered(const std::string& fact, const std::set<std::string>& places) {
    for (const std::string& place : places) {
        const bool isWhole = fact == place || fact.starts_with(place + "/");
        if (isWhole || (place.ends_with('/') && fact.starts_with(place))) {
            return true;
        }
    }
    return false;
}

[[nodiscard]] std::set<std::string> placesOf(const MergeResult& result) {
    std::set<std::string> places;
    for (const Conflict& conflict : result.conflicts) {
        places.insert(keyOf(conflict.place));
    }
    return places;
}

[[nodiscard]] std::optional<std::string> valueOf(const Facts& facts, const std::string& key) {
    const auto found = facts.find(key);
    return found == facts.end() ? std::nullopt : std::optional(found->second);
}

/// A pool is there as long as it has components, so that only its version in all documents is compared.
[[nodiscard]] bool isComparable(const std::string& key, const Facts& base, const Facts& ours, const Facts& theirs) {
    return !key.starts_with("pool/") || (base.contains(key) && ours.contains(key) && theirs.contains(key));
}

/// The facts of a text without those about pools, which may stay without components.
[[nodiscard]] Facts factsWithoutPools(const std::string& text) {
    Facts facts = factsOf(text);
    std::erase_if(facts, [](const auto& fact) { return fact.first.starts_with("pool/"); });
    return facts;
}

/// Each value of the result is that of the side that has changed it, or in the list of conflicts and that of ours.
void expectEveryChange(const std::string& base, const std::string& ours, const std::string& theirs,
                       const MergeResult& result) {
    const Facts baseFacts = factsOf(base);
    const Facts oursFacts = factsOf(ours);
    const Facts theirsFacts = factsOf(theirs);
    const Facts merged = factsOf(result.text);
    ASSERT_FALSE(merged.empty()) << "the result is no document:\n" << result.text;
    const std::set<std::string> places = placesOf(result);
    std::set<std::string> keys;
    for (const Facts* const facts : {&baseFacts, &oursFacts, &theirsFacts, &merged}) {
        for (const auto& [key, value] : *facts) {
            keys.insert(key);
        }
    }
    for (const std::string& key : keys) {
        if (!isComparable(key, baseFacts, oursFacts, theirsFacts)) {
            continue;
        }
        const std::optional<std::string> before = valueOf(baseFacts, key);
        const std::optional<std::string> first = valueOf(oursFacts, key);
        const std::optional<std::string> second = valueOf(theirsFacts, key);
        if (isCovered(key, places)) {
            EXPECT_EQ(valueOf(merged, key), first) << key << " is a conflict";
        } else if (first == second || before == second) {
            EXPECT_EQ(valueOf(merged, key), first) << key;
        } else if (before == first) {
            EXPECT_EQ(valueOf(merged, key), second) << key;
        } else {
            ADD_FAILURE() << key << " was changed by both and is no conflict";
        }
    }
    if (testing::Test::HasFailure()) {
        ADD_FAILURE() << "base:\n"
                      << base << "\nours:\n"
                      << ours << "\ntheirs:\n"
                      << theirs << "\nresult:\n"
                      << result.text;
    }
}

[[nodiscard]] std::map<Place, Conflict> byPlace(const MergeResult& result) {
    std::map<Place, Conflict> conflicts;
    for (const Conflict& conflict : result.conflicts) {
        conflicts.emplace(conflict.place, conflict);
    }
    return conflicts;
}

void expectMirrored(const MergeResult& result, const MergeResult& swapped) {
    const std::map<Place, Conflict> conflicts = byPlace(result);
    const std::map<Place, Conflict> mirrored = byPlace(swapped);
    for (const auto& [place, conflict] : mirrored) {
        EXPECT_TRUE(conflicts.contains(place))
            << describe(place) << " is only a conflict of the swapped merge: " << conflict.reason;
    }
    for (const auto& [place, conflict] : conflicts) {
        const auto other = mirrored.find(place);
        if (other == mirrored.end()) {
            ADD_FAILURE() << describe(place) << " is no conflict of the swapped merge: " << conflict.reason;
            continue;
        }
        EXPECT_EQ(other->second.base, conflict.base);
        EXPECT_EQ(other->second.ours, conflict.theirs);
        EXPECT_EQ(other->second.theirs, conflict.ours);
        EXPECT_EQ(other->second.reason, conflict.reason);
    }
    const std::set<std::string> places = placesOf(result);
    Facts first = factsWithoutPools(result.text);
    Facts second = factsWithoutPools(swapped.text);
    const auto isConflict = [&places](const auto& fact) { return isCovered(fact.first, places); };
    std::erase_if(first, isConflict);
    std::erase_if(second, isConflict);
    EXPECT_EQ(first, second);
}

TEST(RandomMerge, withOneSideUnchanged_isTheOtherSide) {
    forEachCase(2000, 1, [](RandomSource& source) {
        const RandomPrefab base = randomBase(source);
        const std::string baseText = otherText(base, source);
        const std::string text = otherText(changed(base, source), source);
        EXPECT_EQ(mergePrefabs(baseText, text, baseText).text, text);
        EXPECT_EQ(mergePrefabs(baseText, baseText, text).text, text);
        EXPECT_EQ(mergePrefabs(baseText, text, text).text, text);
    });
}

TEST(RandomMerge, withOneSideOnlyReformatted_hasTheFactsOfTheOtherSide) {
    forEachCase(1000, 2, [](RandomSource& source) {
        const RandomPrefab base = randomBase(source);
        const RandomPrefab other = changed(base, source);
        const std::string baseText = otherText(base, source);
        const std::string otherBase = otherText(base, source);
        const std::string text = otherText(other, source);
        const std::string sameText = otherText(other, source);
        for (const auto& [ours, theirs] :
             {std::pair(text, otherBase), std::pair(otherBase, text), std::pair(text, sameText)}) {
            const MergeResult result = mergePrefabs(baseText, ours, theirs);
            EXPECT_EQ(result.conflicts.size(), 0U);
            expectEveryChange(baseText, ours, theirs, result);
            EXPECT_EQ(factsWithoutPools(result.text), factsWithoutPools(text));
        }
    });
}

TEST(RandomMerge, hasEveryChangeOrAConflict_andTheSameInMirrorImage) {
    std::uint64_t conflictsCount = 0;
    std::uint64_t takenCount = 0;
    forEachCase(2500, 3, [&conflictsCount, &takenCount](RandomSource& source) {
        const RandomPrefab base = randomBase(source);
        const std::string baseText = otherText(base, source);
        const std::string ours = otherText(changed(base, source), source);
        const std::string theirs = otherText(changed(base, source), source);
        const MergeResult result = mergePrefabs(baseText, ours, theirs);
        const MergeResult swapped = mergePrefabs(baseText, theirs, ours);
        expectEveryChange(baseText, ours, theirs, result);
        expectMirrored(result, swapped);
        conflictsCount += result.conflicts.size();
        takenCount += result.takenCount;
    });
    // The cases are worth something only if they have both.
    EXPECT_GE(conflictsCount, caseCount(2500) / 2);
    EXPECT_GE(takenCount, caseCount(2500));
    RecordProperty("conflicts", std::to_string(conflictsCount));
    RecordProperty("mergedChanges", std::to_string(takenCount));
}

TEST(RandomMerge, ofIndependentChanges_hasThemAllWithoutConflict) {
    forEachCase(800, 4, [](RandomSource& source) {
        const RandomPrefab base = TestSupport::randomPrefab(source, 6 + TestSupport::randomBelow(source, 20));
        RandomPrefab ours = base;
        RandomPrefab theirs = base;
        for (std::size_t count = 1 + TestSupport::randomBelow(source, 10); count > 0; --count) {
            changeIndependently(ours, base, source, 0);
            changeIndependently(theirs, base, source, 1);
        }
        const std::string baseText = otherText(base, source);
        const std::string oursText = otherText(ours, source);
        const std::string theirsText = otherText(theirs, source);
        const MergeResult result = mergePrefabs(baseText, oursText, theirsText);
        for (const Conflict& conflict : result.conflicts) {
            ADD_FAILURE() << describe(conflict.place) << ": " << conflict.reason;
        }
        expectEveryChange(baseText, oursText, theirsText, result);
    });
}

TEST(RandomMerge, bringsNoProblemThatNeitherSideHas) {
    const auto findProblems = checkingProblems("merged.prefab");
    forEachCase(400, 5, [&findProblems](RandomSource& source) {
        const RandomPrefab base = randomBase(source);
        const std::string baseText = otherText(base, source);
        const std::string ours = otherText(changed(base, source), source);
        const std::string theirs = otherText(changed(base, source), source);
        std::set<Problem> known;
        for (const std::string& text : {ours, theirs}) {
            for (Problem& problem : findProblems(text)) {
                known.insert(std::move(problem));
            }
        }
        MergeOptions options;
        options.findProblems = findProblems;
        for (const Preference preference : {Preference::NONE, Preference::OURS, Preference::THEIRS}) {
            options.preference = preference;
            const MergeResult result = mergePrefabs(baseText, ours, theirs, options);
            for (const Problem& problem : findProblems(result.text)) {
                EXPECT_TRUE(known.contains(problem)) << problem.key << "\nbase:\n"
                                                     << baseText << "\nours:\n"
                                                     << ours << "\ntheirs:\n"
                                                     << theirs << "\nresult:\n"
                                                     << result.text;
            }
        }
    });
}

TEST(RandomMerge, preferringASide_hasItsValuesAtAllConflicts) {
    forEachCase(400, 6, [](RandomSource& source) {
        const RandomPrefab base = randomBase(source);
        const std::string baseText = otherText(base, source);
        const std::string ours = otherText(changed(base, source), source);
        const std::string theirs = otherText(changed(base, source), source);
        MergeOptions options;
        options.preference = Preference::THEIRS;
        const MergeResult merged = mergePrefabs(baseText, ours, theirs);
        const MergeResult preferred = mergePrefabs(baseText, ours, theirs, options);
        EXPECT_EQ(preferred.decidedCount, merged.conflicts.size());
        const Facts facts = factsWithoutPools(preferred.text);
        const Facts theirsFacts = factsWithoutPools(theirs);
        const std::set<std::string> places = placesOf(merged);
        for (const auto& [key, value] : theirsFacts) {
            if (isCovered(key, places)) {
                EXPECT_EQ(valueOf(facts, key), value) << key;
            }
        }
        const ResolvedText resolved = resolveConflicts(merged.text, {Preference::THEIRS, std::nullopt});
        EXPECT_EQ(factsWithoutPools(resolved.text), facts);
        EXPECT_EQ(resolved.resolvedCount, merged.conflicts.size());
        options.preference = Preference::OURS;
        EXPECT_EQ(resolveConflicts(merged.text, {Preference::OURS, std::nullopt}).text,
                  mergePrefabs(baseText, ours, theirs, options).text);
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "base:\n"
                          << baseText << "\nours:\n"
                          << ours << "\ntheirs:\n"
                          << theirs << "\nmerged:\n"
                          << merged.text << "\nresolved:\n"
                          << resolved.text;
        }
    });
}

} // namespace
} // namespace Kiln::PrefabMerging
