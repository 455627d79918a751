#include <fuzz/xml_mutator.h>

#include <resource/data_section.h>
#include <support/log_capture.h>
#include <support/prefab_text.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace Kiln::Fuzz {
namespace {

using TestSupport::element;
using TestSupport::id;

/// Overwrites one byte; stands for libFuzzer's mutations.
std::size_t overwriteByte(std::uint8_t* data, std::size_t size, std::size_t capacity) {
    if (size == 0 && capacity > 0) {
        data[0] = 'x';
        return 1;
    }
    if (size > 0) {
        data[size / 2] = 'x';
    }
    return size;
}

[[nodiscard]] XmlMutator mutatorOf(unsigned seed) {
    return {seed, overwriteByte};
}

[[nodiscard]] std::string prefabText() {
    TestSupport::PrefabText prefab;
    prefab.root(id(1), "Root");
    const std::size_t lamp = prefab.nested(id(2), "Lamp", id(1), "lamp.prefab",
                                           TestSupport::OverridesText().record(id(3), "TagComponent", "").text());
    prefab.component("TagComponent", lamp, element("tag", "lit"));
    return prefab.text();
}

/// The share of the texts that are well formed, in percent.
[[nodiscard]] std::size_t wellFormedShare(const std::vector<std::string>& texts) {
    const TestSupport::LogCapture log; // The parser reports the others.
    const auto count = std::count_if(texts.begin(), texts.end(), [](const std::string& text) {
        return static_cast<bool>(DataSection::fromText(text, "mutated"));
    });
    return static_cast<std::size_t>(count) * 100 / texts.size();
}

[[nodiscard]] std::vector<std::string> mutations(const std::string& text, std::size_t maxSize, unsigned count = 500) {
    std::vector<std::string> results;
    for (unsigned seed = 1; seed <= count; ++seed) {
        results.push_back(mutatorOf(seed).mutate(text, maxSize, {"a.prefab", "b.prefab"}));
    }
    return results;
}

TEST(XmlMutator, sameSeed_sameResult) {
    EXPECT_EQ(mutatorOf(7).mutate(prefabText(), 4096), mutatorOf(7).mutate(prefabText(), 4096));
    EXPECT_EQ(mutatorOf(7).splice(prefabText(), "<a><b>1</b></a>", 4096),
              mutatorOf(7).splice(prefabText(), "<a><b>1</b></a>", 4096));
}

TEST(XmlMutator, mutatedPrefabs_areMostlyWellFormedAndDifferent) {
    const std::vector<std::string> results = mutations(prefabText(), 4096);

    EXPECT_GE(wellFormedShare(results), 90U);
    EXPECT_GE(std::set<std::string>(results.begin(), results.end()).size(), 400U);
    EXPECT_LE(std::count(results.begin(), results.end(), prefabText()), 25);
}

TEST(XmlMutator, mutatedPrefabs_stayWithinTheSize) {
    for (const std::size_t maxSize : {std::size_t{1}, std::size_t{64}, prefabText().size()}) {
        for (const std::string& result : mutations(prefabText(), maxSize, 100)) {
            EXPECT_LE(result.size(), maxSize);
        }
    }
}

TEST(XmlMutator, resources_areAmongTheGivenOnes) {
    const std::vector<std::string> results = mutations(prefabText(), 4096);
    EXPECT_TRUE(std::any_of(results.begin(), results.end(), [](const std::string& text) {
        return text.find("<resource>b.prefab</resource>") != std::string::npos;
    }));
}

TEST(XmlMutator, overrideData_isChangedAsADocument) {
    const std::vector<std::string> results = mutations(prefabText(), 4096);
    EXPECT_TRUE(std::any_of(results.begin(), results.end(), [](const std::string& text) {
        return text.find("<overrides>") != std::string::npos &&
               text.find(id(3).toString()) == std::string::npos; // The record's UUID was replaced.
    }));
}

TEST(XmlMutator, textThatIsNotWellFormed_isRepaired) {
    const std::string broken = prefabText().substr(0, prefabText().size() / 2);
    EXPECT_EQ(wellFormedShare({broken}), 0U);
    EXPECT_GE(wellFormedShare(mutations(broken, 4096)), 85U);
}

TEST(XmlMutator, splicedDocument_holdsAnElementOfTheOther) {
    std::size_t spliced = 0;
    for (unsigned seed = 1; seed <= 50; ++seed) {
        const std::string result =
            mutatorOf(seed).splice("<prefab><name>a</name></prefab>", "<name>donor</name>", 4096);
        EXPECT_EQ(wellFormedShare({result}), 100U);
        spliced += result.find("donor") != std::string::npos ? 1 : 0;
    }
    EXPECT_GE(spliced, 40U);
}

TEST(XmlMutator, mutatedBundles_keepTheirFormat) {
    const std::string bundle = bundleText({{"a.prefab", prefabText()}, {"b.prefab", prefabText()}});
    std::size_t bundles = 0;
    for (unsigned seed = 1; seed <= 200; ++seed) {
        const std::string result = mutatorOf(seed).mutateBundle(bundle, 8192);
        EXPECT_LE(result.size(), 8192U);
        bundles += parseBundle(result).empty() ? 0 : 1;
        EXPECT_LE(mutatorOf(seed).spliceBundle(bundle, result, 8192).size(), 8192U);
    }
    EXPECT_GE(bundles, 195U);
}

} // namespace
} // namespace Kiln::Fuzz
