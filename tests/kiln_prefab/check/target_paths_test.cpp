#include <kiln_prefab/check/target_paths.h>

#include "expect_error.h"

#include <support/temporary_directory.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace Kiln::PrefabToolTests {

namespace {

namespace fs = std::filesystem;

using PrefabTool::ResourceRoots;
using PrefabTool::TargetFinder;
using PrefabTool::Targets;
using testing::ElementsAre;

class TargetPaths : public testing::Test {
protected:
    TargetPaths() {
        m_directory.writeFile("content/harbour.prefab", "");
        m_directory.writeFile("content/props/lamp.prefab", "");
        m_directory.writeFile("content/props/deep/bulb.prefab", "");
        m_directory.writeFile("content/props/readme.txt", "");
        m_directory.writeFile("more/props/crane.prefab", "");
        m_directory.writeFile("more/props/lamp.prefab", "");
        m_directory.writeFile("outside/a.prefab", "");
        m_roots = ResourceRoots({m_directory.path("content"), m_directory.path("more")});
    }

    [[nodiscard]] Targets find(const std::vector<std::string>& names) const {
        TargetFinder finder(m_roots);
        for (const std::string& name : names) {
            finder.add(name);
        }
        return finder.take();
    }

    [[nodiscard]] std::string errorFor(const std::string& name) const {
        return errorOf([&] { (void)find({name}); });
    }

    TestSupport::TemporaryDirectory m_directory;
    ResourceRoots m_roots{{}};
};

TEST_F(TargetPaths, file_isItsResourcePath) {
    EXPECT_THAT(find({m_directory.path("content/props/lamp.prefab")}).paths, ElementsAre("props/lamp.prefab"));
    EXPECT_THAT(find({m_directory.path("content/props/readme.txt")}).paths, ElementsAre("props/readme.txt"));
}

TEST_F(TargetPaths, nameThatIsNoFile_isAResourcePath) {
    EXPECT_THAT(find({"./props//lamp.prefab", "props/crane.prefab"}).paths,
                ElementsAre("props/crane.prefab", "props/lamp.prefab"));
}

TEST_F(TargetPaths, missingPrefab_isATarget) {
    EXPECT_THAT(find({"props/none.prefab", m_directory.path("more/no.prefab")}).paths,
                ElementsAre("no.prefab", "props/none.prefab"));
}

TEST_F(TargetPaths, folder_isAllPrefabsBeneath) {
    EXPECT_THAT(find({m_directory.path("content")}).paths,
                ElementsAre("harbour.prefab", "props/deep/bulb.prefab", "props/lamp.prefab"));
    EXPECT_THAT(find({m_directory.path("content/props/")}).paths,
                ElementsAre("props/deep/bulb.prefab", "props/lamp.prefab"));
}

TEST_F(TargetPaths, folderAsResourcePath_isThatOfAllRoots) {
    EXPECT_THAT(find({"props"}).paths,
                ElementsAre("props/crane.prefab", "props/deep/bulb.prefab", "props/lamp.prefab"));
}

TEST_F(TargetPaths, rootsAreCovered_ifAllOfThemAreNamed) {
    EXPECT_FALSE(find({m_directory.path("content")}).coversRoots);
    EXPECT_FALSE(find({"props"}).coversRoots);
    EXPECT_TRUE(find({m_directory.path("content"), m_directory.path("more")}).coversRoots);
}

TEST_F(TargetPaths, linkToAFolder_isNotFollowed) {
    fs::create_directory_symlink("..", m_directory.path("content/props/up"));
    fs::create_directory_symlink("../../outside", m_directory.path("content/props/out.prefab"));
    fs::create_symlink("lamp.prefab", m_directory.path("content/props/light.prefab"));
    EXPECT_THAT(find({m_directory.path("content/props")}).paths,
                ElementsAre("props/deep/bulb.prefab", "props/lamp.prefab", "props/light.prefab"));
}

TEST_F(TargetPaths, fileOfALaterRootThatIsHidden_isRefused) {
    EXPECT_EQ(errorFor(m_directory.path("more/props/lamp.prefab")),
              "'" + m_directory.path("more/props/lamp.prefab") + "' is hidden by the file of the same path beneath '" +
                  m_directory.path("content") + "', which is an earlier resource root");
}

TEST_F(TargetPaths, pathOutsideOfTheRoots_isRefused) {
    for (const std::string& name : {m_directory.path("outside/a.prefab"), m_directory.path("outside"),
                                    m_directory.path("none.prefab"), std::string("../a.prefab")}) {
        EXPECT_EQ(errorFor(name), "'" + name +
                                      "' is outside of the resource roots; --root DIR adds DIR, and only files "
                                      "beneath a root are read");
    }
}

TEST_F(TargetPaths, missingFolder_isRefused) {
    EXPECT_EQ(errorFor("none"), "'none' does not exist");
    EXPECT_EQ(errorFor(m_directory.path("content/none")), "'" + m_directory.path("content/none") + "' does not exist");
}

} // namespace

} // namespace Kiln::PrefabToolTests
