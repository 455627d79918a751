#include <tessel_streaming/support/streaming_fixture.h>

#include <gmock/gmock.h>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NestedFailures : public StreamingFixture {
protected:
    /// Override data that makes the point of writeNesting() nest another prefab.
    [[nodiscard]] static std::string resourceOverride(const std::string& resource) {
        return "<overrides><gameObject><uuid>" + id(2).toString() +
               "</uuid><component><type>PrefabComponent</type><properties>" + element("resource", resource) +
               "</properties></component></gameObject></overrides>";
    }
    [[nodiscard]] static LoadOptions partial() {
        LoadOptions options;
        options.failurePolicy = FailurePolicy::PARTIAL;
        return options;
    }
};

TEST_F(NestedFailures, missingFile_failsWithTheChainToIt) {
    writeNesting("a.prefab", "b.prefab");
    writeNesting("b.prefab", "none.prefab");
    const LoadHandle handle = loaded("a.prefab");
    EXPECT_EQ(handle.state(), LoadState::FAILED);
    ASSERT_EQ(handle.result().failures.size(), 1U);
    EXPECT_EQ(handle.result().failures.front().code, FailureCode::MISSING_FILE);
    EXPECT_THAT(handle.result().failures.front().chain, ElementsAre("a.prefab", "b.prefab", "none.prefab"));
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(NestedFailures, severalFiles_areAllListed) {
    PrefabText prefab;
    prefab.root(id(1), "root");
    prefab.nested(id(2), "x", id(1), "x.prefab");
    prefab.nested(id(3), "y", id(1), "y.prefab");
    prefab.nested(id(4), "x again", id(1), "x.prefab");
    writePrefab("a.prefab", prefab);
    directory.writeFile("y.prefab", "<");
    const LoadHandle handle = loaded("a.prefab");
    ASSERT_EQ(handle.result().failures.size(), 2U);
    EXPECT_EQ(handle.result().failures[0].file, "x.prefab");
    EXPECT_EQ(handle.result().failures[1].code, FailureCode::MALFORMED_FILE);
    EXPECT_EQ(handle.result().failures[1].line, 1U);
}

TEST_F(NestedFailures, partialPolicy_leavesThemOut) {
    writeNesting("a.prefab", "none.prefab");
    const LoadHandle handle = loaded("a.prefab", partial());
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
    EXPECT_TRUE(handle.result().isPartial);
    ASSERT_EQ(handle.result().failures.size(), 1U);
    EXPECT_EQ(objectsCount(), 1U);
}

TEST_F(NestedFailures, partialPolicy_needsTheTopFile) {
    EXPECT_EQ(loaded("none.prefab", partial()).state(), LoadState::FAILED);
}

TEST_F(NestedFailures, prefabThatNestsItself_isACycle) {
    writeNesting("a.prefab", "a.prefab");
    const LoadHandle handle = loaded("a.prefab");
    EXPECT_THAT(failuresOf(handle), ElementsAre("a.prefab: The prefab nests itself. (CYCLE; a.prefab > a.prefab)"));
}

TEST_F(NestedFailures, cycleOfTwo_isListedOnceWithItsChain) {
    writeNesting("top.prefab", "a.prefab");
    writeNesting("a.prefab", "b.prefab");
    writeNesting("b.prefab", "a.prefab");
    const LoadHandle handle = loaded("top.prefab");
    EXPECT_THAT(failuresOf(handle),
                ElementsAre("a.prefab: The prefab nests itself. (CYCLE; top.prefab > a.prefab > b.prefab > a.prefab)"));
}

TEST_F(NestedFailures, wideCycle_endsSoon) {
    PrefabText prefab;
    prefab.root(id(1), "root");
    for (std::uint64_t i = 2; i < 40; ++i) {
        prefab.nested(id(i), "point", id(1), "a.prefab");
    }
    writePrefab("a.prefab", prefab);
    const LoadHandle handle = loaded("a.prefab");
    ASSERT_EQ(handle.result().failures.size(), 1U);
    EXPECT_EQ(handle.result().failures.front().code, FailureCode::CYCLE);
}

TEST_F(NestedFailures, sixLevels_load) {
    for (int level = 0; level < 5; ++level) {
        writeNesting(std::to_string(level), std::to_string(level + 1));
    }
    writeRoot("5");
    EXPECT_EQ(loaded("0").state(), LoadState::SUCCEEDED);
    EXPECT_EQ(objectsCount(), 6U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedFailures, sevenLevels_areTooDeep) {
    for (int level = 0; level < 6; ++level) {
        writeNesting(std::to_string(level), std::to_string(level + 1));
    }
    writeRoot("6");
    EXPECT_THAT(failuresOf(loaded("0")),
                ElementsAre("6: Prefabs are nested more than 5 levels below the requested one. "
                            "(TOO_DEEP; 0 > 1 > 2 > 3 > 4 > 5 > 6)"));
}

TEST_F(NestedFailures, nestedPrefabWithoutRoot_isListed) {
    writeNesting("a.prefab", "b.prefab");
    PrefabText prefab;
    prefab.child(id(5), "lost", id(6));
    writePrefab("b.prefab", prefab);
    EXPECT_THAT(failuresOf(loaded("a.prefab")),
                ElementsAre("b.prefab: The prefab has no game object without a parent, so that it cannot be nested. "
                            "(NO_ROOT; a.prefab > b.prefab)"));
}

TEST_F(NestedFailures, fileThatAnOverrideReplaces_isNotNeeded) {
    writeNesting("top.prefab", "a.prefab", resourceOverride("b.prefab"));
    writeNesting("a.prefab", "none.prefab");
    writeRoot("b.prefab", "from the override");
    const LoadHandle handle = loaded("top.prefab");
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
    EXPECT_EQ(objectsCount(), 3U);
}

TEST_F(NestedFailures, fileThatOnlyTheRequestsOverridesName_isRead) {
    writeNesting("a.prefab", "none.prefab");
    writeRoot("b.prefab");
    LoadOptions options;
    options.overrides = OverrideRecords::create(resourceOverride("b.prefab"));
    const LoadHandle handle = loaded("a.prefab", options);
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
    EXPECT_EQ(objectsCount(), 2U);
}

TEST_F(NestedFailures, preloadOfACycle_isListed) {
    writeNesting("a.prefab", "a.prefab");
    const LoadHandle handle = preload({"a.prefab"});
    finish(handle);
    EXPECT_THAT(failuresOf(handle), ElementsAre("a.prefab: The prefab nests itself. (CYCLE; a.prefab > a.prefab)"));
}

TEST_F(NestedFailures, preloadOfAReplacedFile_succeeds) {
    writeNesting("top.prefab", "a.prefab", resourceOverride("b.prefab"));
    writeNesting("a.prefab", "none.prefab");
    writeRoot("b.prefab");
    const LoadHandle handle = preload({"top.prefab"});
    finish(handle);
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
}

} // namespace
} // namespace Kiln::TestSupport
