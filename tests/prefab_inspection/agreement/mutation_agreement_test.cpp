// Random mistakes in sound prefabs: a check has errors if and only if loading fails or reports errors. For longer runs,
// KILN_AGREEMENT_COUNT sets the number of mutations of each test and KILN_AGREEMENT_SEED the first seed;
// KILN_AGREEMENT_KEEP names a folder that gets the files of each disagreement.

#include "agreement.h"
#include "base_sets.h"
#include "file_mutator.h"
#include "file_set.h"

#include <build_paths.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Kiln::AgreementTests {
namespace {

constexpr std::uint64_t MUTATIONS_PER_TEST = 100;
constexpr std::uint64_t BLOCKS = 5;
constexpr std::uint64_t MUTATIONS_PER_SCENARIO = 20;

/// A sound set of files, and the number of a block of seeds.
struct Case {
    std::string set;
    std::string main; ///< The outermost prefab.
    std::uint64_t block = 0;

    friend void PrintTo(const Case& tested, std::ostream* stream) { *stream << tested.set << " " << tested.block; }
};

[[nodiscard]] std::uint64_t variable(const char* name, std::uint64_t absent) {
    const char* const text = std::getenv(name);
    return text ? std::strtoull(text, nullptr, 10) : absent;
}

/// Writes the files of a disagreement, for whoever wants to look at it.
void keep(const FileSet& files, const std::string& name, const std::string& description) {
    const char* const folder = std::getenv("KILN_AGREEMENT_KEEP");
    if (!folder) {
        return;
    }
    const std::filesystem::path target = std::filesystem::path(folder) / name;
    for (const auto& [path, entry] : files) {
        std::filesystem::create_directories((target / path).parent_path());
        if (entry.kind == FileEntry::Kind::FILE) {
            std::ofstream(target / path, std::ios::binary) << entry.text;
        }
    }
    std::ofstream(target / "README", std::ios::binary) << description << "\n";
}

[[nodiscard]] std::string mutationCaseName(const testing::TestParamInfo<Case>& tested) {
    return tested.param.set + "_" + std::to_string(tested.param.block);
}

class BaseFilesAgreement : public testing::TestWithParam<Case> {
protected:
    BaseFilesAgreement() { loadComponents(); }

    SetFolder m_folder;
};

TEST_P(BaseFilesAgreement, areSound) {
    m_folder.hold(baseSet(GetParam().set));
    EXPECT_FALSE(expectAgreement(GetParam().main, "unchanged files").isFaulty);
}

/// Makes mistakes in a set of files, with each of `count` seeds from `first` on, and compares. Returns how many of the
/// results are faulty.
std::uint64_t compareMutations(const Case& tested, const FileSet& files, SetFolder& folder, std::uint64_t first,
                               std::uint64_t count) {
    std::uint64_t faulty = 0;
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        FileMutator mutator(files, seed);
        std::string description = "seed " + std::to_string(seed) + "\n" + mutator.mutate();
        if (seed % 4 == 3) {
            description += "\n" + mutator.mutate();
        }
        folder.hold(mutator.files());
        const std::string& main = seed % 8 == 0 ? mutator.lastFile() : tested.main;
        const Agreement agreement = expectAgreement(main, description);
        faulty += agreement.isFaulty ? 1 : 0;
        if (!agreement.isReached) {
            keep(mutator.files(), tested.set + "_" + std::to_string(seed), description + "\nprefab: " + main);
        }
    }
    return faulty;
}

class MutationAgreement : public BaseFilesAgreement {};

TEST_P(MutationAgreement, checkHasErrorsIfAndOnlyIfLoadingHas) {
    const std::uint64_t count = variable("KILN_AGREEMENT_COUNT", MUTATIONS_PER_TEST);
    const std::uint64_t first = variable("KILN_AGREEMENT_SEED", 0) + GetParam().block * count;
    const std::uint64_t faulty = compareMutations(GetParam(), baseSet(GetParam().set), m_folder, first, count);
    // The comparison means something only if there are prefabs of both kinds.
    EXPECT_GT(faulty, count / 10);
    EXPECT_LT(faulty, count - count / 10);
}

class ScenarioMutationAgreement : public BaseFilesAgreement {};

TEST_P(ScenarioMutationAgreement, checkHasErrorsIfAndOnlyIfLoadingHas) {
    const std::uint64_t count = variable("KILN_AGREEMENT_COUNT", MUTATIONS_PER_SCENARIO);
    const FileSet files = readFiles(std::filesystem::path(KILN_SOURCE_DIR) / "tests/scenarios" / GetParam().set);
    compareMutations(GetParam(), files, m_folder, variable("KILN_AGREEMENT_SEED", 0), count);
}

[[nodiscard]] std::vector<Case> mutationCases(std::uint64_t blocks) {
    std::vector<Case> all;
    for (std::uint64_t block = 0; block < blocks; ++block) {
        all.push_back({"yard", "top.prefab", block});
        all.push_back({"chain", "level0.prefab", block});
        all.push_back({"fan", "fan.prefab", block});
        all.push_back({"layers", "top.prefab", block});
        all.push_back({"harbour", "harbour/harbour.prefab", block});
    }
    return all;
}

/// Every scenario. Nearly all of them have an outermost prefab of that name.
[[nodiscard]] std::vector<Case> scenarios() {
    std::vector<Case> all;
    const std::filesystem::path folder = std::filesystem::path(KILN_SOURCE_DIR) / "tests/scenarios";
    for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_directory()) {
            all.push_back({entry.path().filename().string(), "outer.prefab", 0});
        }
    }
    std::sort(all.begin(), all.end(), [](const Case& a, const Case& b) { return a.set < b.set; });
    return all;
}

INSTANTIATE_TEST_SUITE_P(Agreement, BaseFilesAgreement, testing::ValuesIn(mutationCases(1)), mutationCaseName);
INSTANTIATE_TEST_SUITE_P(Agreement, MutationAgreement, testing::ValuesIn(mutationCases(BLOCKS)), mutationCaseName);
INSTANTIATE_TEST_SUITE_P(Agreement, ScenarioMutationAgreement, testing::ValuesIn(scenarios()), mutationCaseName);

} // namespace
} // namespace Kiln::AgreementTests
