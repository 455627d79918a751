#include <kiln_prefab/check/settings_files.h>

#include "expect_error.h"

#include <support/temporary_directory.h>

#include <filesystem>
#include <string>

namespace Kiln::PrefabToolTests {

namespace {

using PrefabTool::ResourceRoots;
using PrefabTool::Settings;
using PrefabTool::SettingsFiles;

class SettingsFilesTest : public testing::Test {
protected:
    void write(const std::string& name, const std::string& text) const { m_directory.writeFile(name, text); }

    [[nodiscard]] std::string strictness(SettingsFiles& files, const std::string& path) const {
        const auto& strict = files.settingsFor(path).strict;
        return strict ? strict->origin : "default";
    }

    TestSupport::TemporaryDirectory m_directory;
    ResourceRoots m_roots{{m_directory.path("one"), m_directory.path("two")}};
};

TEST_F(SettingsFilesTest, nearestFile_overridesThoseAbove) {
    write("kiln-prefab.json", R"({"unused": true})"); // Above the root.
    write("one/kiln-prefab.json", R"({"strict": true, "baseline": "known.json"})");
    write("one/props/deep/kiln-prefab.json", "{\n\"strict\": false}");
    SettingsFiles files(m_roots, SettingsFiles::Source::FOLDERS, {});
    EXPECT_EQ(strictness(files, "a.prefab"), "kiln-prefab.json:1");
    EXPECT_EQ(strictness(files, "props/a.prefab"), "kiln-prefab.json:1");
    EXPECT_EQ(strictness(files, "props/deep/a.prefab"), "props/deep/kiln-prefab.json:2");
    EXPECT_EQ(strictness(files, "props/deep/deeper/a.prefab"), "props/deep/kiln-prefab.json:2");
    EXPECT_EQ(files.settingsFor("props/deep/a.prefab").baseline->value, m_directory.path("one/known.json"));
    EXPECT_FALSE(files.settingsFor("a.prefab").unused);
}

TEST_F(SettingsFilesTest, fileOfAnotherRoot_hasTheSettingsOfThatRoot) {
    write("two/kiln-prefab.json", R"({"strict": true})");
    write("two/a.prefab", "");
    write("one/b.prefab", "");
    SettingsFiles files(m_roots, SettingsFiles::Source::FOLDERS, {});
    EXPECT_EQ(strictness(files, "a.prefab"), "kiln-prefab.json:1");
    EXPECT_EQ(strictness(files, "b.prefab"), "default");
    EXPECT_EQ(strictness(files, m_directory.path("two/c.prefab")), "kiln-prefab.json:1");
    EXPECT_EQ(strictness(files, "../a.prefab"), "default");
}

TEST_F(SettingsFilesTest, commandLine_overridesFiles) {
    write("one/kiln-prefab.json", R"({"strict": false})");
    Settings commandLine;
    commandLine.strict = {true, "command line"};
    SettingsFiles files(m_roots, SettingsFiles::Source::FOLDERS, commandLine);
    EXPECT_EQ(strictness(files, "a.prefab"), "command line");
}

TEST_F(SettingsFilesTest, withoutSource_filesAreNotRead) {
    write("one/kiln-prefab.json", "no JSON");
    SettingsFiles files(m_roots, SettingsFiles::Source::NONE, {});
    EXPECT_EQ(strictness(files, "a.prefab"), "default");
}

TEST_F(SettingsFilesTest, namedFile_replacesThoseInFolders) {
    write("one/kiln-prefab.json", "no JSON");
    write("settings.json", R"({"strict": true, "baseline": "known.json"})");
    const std::string name = m_directory.path("settings.json");
    SettingsFiles files(m_roots, name, {});
    EXPECT_EQ(strictness(files, "a.prefab"), name + ":1");
    EXPECT_EQ(files.settingsFor("a.prefab").baseline->value, m_directory.path("known.json"));
    EXPECT_EQ(errorOf([this] { (void)SettingsFiles(m_roots, "none.json", {}); }),
              "Cannot read 'none.json': the file does not exist");
}

TEST_F(SettingsFilesTest, wrongFile_isReportedWithItsPathBeneathTheRoot) {
    write("one/props/kiln-prefab.json", R"({"strikt": true})");
    std::filesystem::create_directories(m_directory.path("one/folder/kiln-prefab.json"));
    SettingsFiles files(m_roots, SettingsFiles::Source::FOLDERS, {});
    EXPECT_EQ(errorOf([&files] { (void)files.settingsFor("props/a.prefab"); }),
              "props/kiln-prefab.json:1: Unknown setting 'strikt'; did you mean 'strict'?");
    EXPECT_EQ(errorOf([&files] { (void)files.settingsFor("folder/a.prefab"); }),
              "Cannot read 'folder/kiln-prefab.json': is not a regular file");
}

} // namespace

} // namespace Kiln::PrefabToolTests
