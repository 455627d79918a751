#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

/// A corpus of prefab files made from real content, with a file expected.json that lists the expected results. It is
/// not part of the source tree: the environment variable KILN_CORPUS_DIR names its directory, or else it is looked for
/// in
/// ../shared/corpus, seen from the source tree. The directory holds expected.json itself or a folder that does.
namespace Kiln::CorpusTests {

/// A live object as expected.json describes it.
struct ExpectedObject {
    std::string path;
    std::optional<std::size_t> parent; ///< Index in the list of objects.
    std::vector<std::string> components;
    std::string uuid;

    friend bool operator==(const ExpectedObject&, const ExpectedObject&) = default;
};

void PrintTo(const ExpectedObject& object, std::ostream* stream);

/// The entry of expected.json for one file.
struct ExpectedFile {
    std::size_t nodes = 0;
    bool fails = false;
    std::vector<std::string> nested;
    std::vector<ExpectedObject> objects;
};

/// The directory that resource paths start from; empty when there is no corpus.
[[nodiscard]] const std::filesystem::path& directory();

/// Resource paths of all files, in order; a single empty path when there is no corpus.
[[nodiscard]] const std::vector<std::string>& files();

/// The content of expected.json by resource path.
[[nodiscard]] const std::map<std::string, ExpectedFile>& expectedFiles();

/// Test name of a file.
[[nodiscard]] std::string testName(const testing::TestParamInfo<std::string>& info);

/// Adds the directory, or a pack of it, to the search path; each test program has one of the two forms.
void addResources(const std::filesystem::path& corpus);

/// A test that is skipped without a corpus, else run with the corpus as resource root and its component plug-in.
class CorpusFixture : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};

/// The same for one file, which the parameter names.
class CorpusFileFixture : public CorpusFixture, public testing::WithParamInterface<std::string> {
protected:
    [[nodiscard]] static const std::string& path() { return GetParam(); }
    [[nodiscard]] static const ExpectedFile& expected() { return expectedFiles().at(path()); }
};

} // namespace Kiln::CorpusTests
