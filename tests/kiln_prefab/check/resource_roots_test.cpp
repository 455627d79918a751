#include <kiln_prefab/check/resource_roots.h>

#include <support/temporary_directory.h>

#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {

namespace {

namespace fs = std::filesystem;

using PrefabTool::ResourceRoots;

class ResourceRootsTest : public testing::Test {
protected:
    ResourceRootsTest() {
        m_directory.writeFile("content/props/lamp.prefab", "");
        m_directory.writeFile("more/props/lamp.prefab", "");
        m_directory.writeFile("more/crane.prefab", "");
        m_directory.writeFile("outside.prefab", "");
        fs::create_symlink("content", m_directory.path("link"));
        m_roots = ResourceRoots({m_directory.path("content"), m_directory.path("more/")});
    }

    /// "ROOT:PATH", or "none".
    [[nodiscard]] static std::string locate(const ResourceRoots& roots, const std::string& name) {
        const std::optional<ResourceRoots::Location> location = roots.locate(name);
        return location ? std::to_string(location->root) + ":" + location->path : "none";
    }

    TestSupport::TemporaryDirectory m_directory;
    ResourceRoots m_roots{{}};
};

TEST_F(ResourceRootsTest, nameBeneathARoot_isLocated) {
    EXPECT_EQ(locate(m_roots, m_directory.path("content/props/lamp.prefab")), "0:props/lamp.prefab");
    EXPECT_EQ(locate(m_roots, m_directory.path("more/props/lamp.prefab")), "1:props/lamp.prefab");
    EXPECT_EQ(locate(m_roots, m_directory.path("content/./props//../props/lamp.prefab")), "0:props/lamp.prefab");
    EXPECT_EQ(locate(m_roots, m_directory.path("content/not/there.prefab")), "0:not/there.prefab");
    EXPECT_EQ(locate(m_roots, m_directory.path("content/props/")), "0:props");
    EXPECT_EQ(locate(m_roots, m_directory.path("content")), "0:");
}

TEST_F(ResourceRootsTest, nameOutside_isNotLocated) {
    EXPECT_EQ(locate(m_roots, m_directory.path("outside.prefab")), "none");
    EXPECT_EQ(locate(m_roots, m_directory.path("content/../outside.prefab")), "none");
    EXPECT_EQ(locate(m_roots, m_directory.path("content2/a.prefab")), "none");
    EXPECT_EQ(locate(m_roots, m_directory.path()), "none");
}

TEST_F(ResourceRootsTest, linkToARoot_isFollowed) {
    EXPECT_EQ(locate(m_roots, m_directory.path("link/props/lamp.prefab")), "0:props/lamp.prefab");
    const ResourceRoots roots({m_directory.path("link")});
    EXPECT_EQ(locate(roots, m_directory.path("content/props/lamp.prefab")), "0:props/lamp.prefab");
}

TEST_F(ResourceRootsTest, linkBeneathARoot_keepsItsName) {
    fs::create_symlink("lamp.prefab", m_directory.path("content/props/light.prefab"));
    fs::create_symlink("props", m_directory.path("content/things"));
    EXPECT_EQ(locate(m_roots, m_directory.path("content/props/light.prefab")), "0:props/light.prefab");
    EXPECT_EQ(locate(m_roots, m_directory.path("content/things/lamp.prefab")), "0:things/lamp.prefab");
    EXPECT_EQ(locate(m_roots, m_directory.path("link/things/lamp.prefab")), "0:props/lamp.prefab");
}

TEST_F(ResourceRootsTest, resourcePath_belongsToTheFirstRootThatHasIt) {
    EXPECT_EQ(m_roots.rootOf("props/lamp.prefab"), 0U);
    EXPECT_EQ(m_roots.rootOf("crane.prefab"), 1U);
    EXPECT_EQ(m_roots.rootOf("missing.prefab"), 0U);
    EXPECT_EQ(m_roots.fileName("crane.prefab"), m_directory.path("more/crane.prefab"));
}

TEST_F(ResourceRootsTest, withoutNames_theCurrentDirectoryIsTheRoot) {
    const ResourceRoots roots({});
    EXPECT_EQ(locate(roots, "a/b.prefab"), "0:a/b.prefab");
    EXPECT_EQ(locate(roots, "../b.prefab"), "none");
    EXPECT_EQ(roots.fileName("a/b.prefab"), "a/b.prefab");
}

TEST(NormalResourcePath, superfluousParts_areRemoved) {
    EXPECT_EQ(PrefabTool::normalResourcePath("./a//b/../c.prefab"), "a/c.prefab");
    EXPECT_EQ(PrefabTool::normalResourcePath("a/"), "a");
    EXPECT_EQ(PrefabTool::normalResourcePath("."), "");
    EXPECT_EQ(PrefabTool::normalResourcePath("../a"), "../a");
}

} // namespace

} // namespace Kiln::PrefabToolTests
