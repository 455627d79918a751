// The prefabs of the scenarios, of the corpus and of the collection of hostile files: a check has errors if and only if
// loading fails or reports errors.

#include "agreement.h"
#include "file_set.h"

#include <build_paths.h>
#include <fuzz/bundle.h>
#include <resource/file_system_utils.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace Kiln::AgreementTests {
namespace {

namespace fs = std::filesystem;

/// Paths of all prefabs below a folder, in order.
[[nodiscard]] std::vector<std::string> prefabsBelow(const fs::path& folder) {
    std::vector<std::string> paths;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder, error)) {
        if (entry.path().extension() == ".prefab") {
            paths.push_back(entry.path().lexically_relative(folder).generic_string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

[[nodiscard]] std::vector<std::string> foldersIn(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.is_directory()) {
            names.push_back(entry.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

void expectAgreementBelow(const fs::path& folder) {
    FS::Utils::clearResourceRoots();
    FS::Utils::addResourceRoot(folder.string());
    for (const std::string& path : prefabsBelow(folder)) {
        expectAgreement(path, "a file of " + folder.filename().string());
    }
}

/// A folder beside the source tree that holds files for tests.
[[nodiscard]] fs::path sharedFolder(const char* variable, const char* name) {
    const char* const given = std::getenv(variable);
    return given ? fs::path(given) : fs::path(KILN_SOURCE_DIR).parent_path() / "shared" / name;
}

[[nodiscard]] std::string nameOf(const testing::TestParamInfo<std::string>& tested) {
    std::string name = tested.param.empty() ? "absent" : tested.param;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
    return name;
}

class ExistingFilesAgreement : public testing::TestWithParam<std::string> {
protected:
    ExistingFilesAgreement() { loadComponents(); }
    ~ExistingFilesAgreement() override { FS::Utils::clearResourceRoots(); }
};

class ScenarioAgreement : public ExistingFilesAgreement {};

TEST_P(ScenarioAgreement, checkHasErrorsIfAndOnlyIfLoadingHas) {
    expectAgreementBelow(fs::path(KILN_SOURCE_DIR) / "tests/scenarios" / GetParam());
}

INSTANTIATE_TEST_SUITE_P(Agreement, ScenarioAgreement,
                         testing::ValuesIn(foldersIn(fs::path(KILN_SOURCE_DIR) / "tests/scenarios")), nameOf);

[[nodiscard]] std::vector<std::string> foldersOrAbsent(const fs::path& folder) {
    std::vector<std::string> names = foldersIn(folder);
    if (names.empty()) {
        names.emplace_back();
    }
    return names;
}

class CorpusAgreement : public ExistingFilesAgreement {};

TEST_P(CorpusAgreement, checkHasErrorsIfAndOnlyIfLoadingHas) {
    if (GetParam().empty()) {
        GTEST_SKIP() << "There is no corpus; KILN_CORPUS_DIR can name its directory";
    }
    ASSERT_TRUE(dlopen(KILN_BUILD_LIB_DIR "/libcorpus_components.so", RTLD_NOW | RTLD_LOCAL)) << dlerror();
    expectAgreementBelow(sharedFolder("KILN_CORPUS_DIR", "corpus") / GetParam());
}

INSTANTIATE_TEST_SUITE_P(Agreement, CorpusAgreement,
                         testing::ValuesIn(foldersOrAbsent(sharedFolder("KILN_CORPUS_DIR", "corpus"))), nameOf);

/// The kept inputs of a fuzz target, each of which is a folder of files.
class FuzzInputsAgreement : public ExistingFilesAgreement {};

TEST_P(FuzzInputsAgreement, checkHasErrorsIfAndOnlyIfLoadingHas) {
    SetFolder folder;
    for (const auto& [name, input] : readFiles(fs::path(KILN_SOURCE_DIR) / "fuzz/corpus" / GetParam())) {
        FileSet files;
        for (const Fuzz::BundleFile& file : Fuzz::parseBundle(input.text)) {
            files[file.name].text = file.text;
        }
        folder.hold(files);
        for (const auto& [path, entry] : files) {
            if (path.ends_with(".prefab")) {
                expectAgreement(path, name);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Agreement, FuzzInputsAgreement, testing::Values("service", "service_files", "tool"), nameOf);

/// The folder itself, and the folders in it.
class HostileFilesAgreement : public testing::Test {
protected:
    HostileFilesAgreement() { loadComponents(); }
    ~HostileFilesAgreement() override { FS::Utils::clearResourceRoots(); }
};

TEST_F(HostileFilesAgreement, checkHasErrorsIfAndOnlyIfLoadingHas) {
    const fs::path folder = sharedFolder("KILN_HOSTILE_DIR", "hostile");
    if (!fs::exists(folder)) {
        GTEST_SKIP() << "There are no hostile files; KILN_HOSTILE_DIR can name their directory";
    }
    expectAgreementBelow(folder);
    for (const std::string& inner : foldersIn(folder)) {
        expectAgreementBelow(folder / inner);
    }
}

} // namespace
} // namespace Kiln::AgreementTests
