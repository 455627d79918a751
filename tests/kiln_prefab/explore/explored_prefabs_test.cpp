#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/explore/explored_prefabs.h>
#include <resource/file_system_utils.h>
#include <support/prefab_text.h>
#include <support/temporary_directory.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabTool {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using TestSupport::id;
using TestSupport::PrefabText;

class ExploredPrefabsTest : public testing::Test {
protected:
    ExploredPrefabsTest() {
        FS::Utils::addResourceRoot(m_directory.path().string());
        write("lamp.prefab", PrefabText().object(id(11), "Lamp"));
        write("quays/quay.prefab",
              PrefabText().object(id(1), "Quay").object(id(2), "Lamp").parent(1, id(1)).nest(1, "lamp.prefab"));
    }
    ~ExploredPrefabsTest() override { FS::Utils::clearResourceRoots(); }

    void write(const std::string& name, const PrefabText& prefab) const { m_directory.writeFile(name, prefab.text()); }

    [[nodiscard]] ExploredPrefabs explore(std::vector<std::string> names) const {
        return {m_roots, std::move(names),
                [this] { return SettingsFiles(m_roots, SettingsFiles::Source::FOLDERS, {}); }};
    }

    [[nodiscard]] static std::vector<std::string> pathsOf(const PrefabInspection::CheckResult& result) {
        std::vector<std::string> paths;
        for (const PrefabInspection::CheckedFile& file : result.files) {
            paths.push_back(file.path);
        }
        return paths;
    }

    TestSupport::TemporaryDirectory m_directory;
    ResourceRoots m_roots{{m_directory.path().string()}};
};

TEST_F(ExploredPrefabsTest, result_hasTheFilesAndThoseNestedInThem) {
    ExploredPrefabs prefabs = explore({"quays"});
    EXPECT_THAT(pathsOf(prefabs.check()), ElementsAre("lamp.prefab", "quays/quay.prefab"));
}

TEST_F(ExploredPrefabsTest, withoutNames_areThoseOfAllRoots) {
    write("other.prefab", PrefabText().object(id(5), "Other"));
    ExploredPrefabs prefabs = explore({});
    EXPECT_THAT(pathsOf(prefabs.check()), ElementsAre("lamp.prefab", "other.prefab", "quays/quay.prefab"));
}

TEST_F(ExploredPrefabsTest, watchedFiles_areNestedNewMissingAndSettingsFiles) {
    ExploredPrefabs prefabs = explore({"quays"});
    EXPECT_THAT(prefabs.files(), ElementsAre(m_directory.path("quays/quay.prefab")));
    static_cast<void>(prefabs.check());
    write("quays/new.prefab", PrefabText().object(id(7), "New"));
    EXPECT_THAT(prefabs.files(), Contains(m_directory.path("lamp.prefab")));
    EXPECT_THAT(prefabs.files(), Contains(m_directory.path("quays/new.prefab")));
    EXPECT_THAT(prefabs.files(), Contains(m_directory.path("quays/kiln-prefab.json")));
}

TEST_F(ExploredPrefabsTest, settings_areReadForEachCheck) {
    m_directory.writeFile("quays/quay.prefab", PrefabText().object(id(1), "Quay").component("SailComponent", 0).text());
    ExploredPrefabs prefabs = explore({"quays"});
    EXPECT_THAT(prefabs.check().findings, Not(IsEmpty()));
    m_directory.writeFile("kiln-prefab.json", R"({"ignore": ["KP0301"]})");
    EXPECT_THAT(prefabs.check().findings, IsEmpty());
}

TEST_F(ExploredPrefabsTest, failedCheck_keepsTheFilesOfTheLastOne) {
    ExploredPrefabs prefabs = explore({"quays"});
    static_cast<void>(prefabs.check());
    std::filesystem::remove_all(m_directory.path("quays"));
    EXPECT_THROW(static_cast<void>(prefabs.check()), CommandError);
    EXPECT_THAT(prefabs.files(), Contains(m_directory.path("quays/quay.prefab")));
}

} // namespace
} // namespace Kiln::PrefabTool
