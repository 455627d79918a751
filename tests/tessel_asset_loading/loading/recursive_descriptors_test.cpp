#include <tessel_asset_loading/support/world_fixture.h>

#include <gmock/gmock.h>

namespace Kiln::TestSupport {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
namespace Loading = Tessel::Loading;

/// Loading::loadDescriptorsRecursively. Prefabs that are cached from memory do not name themselves.
class RecursiveDescriptors : public WorldFixture {
protected:
    /// A prefab that nests others.
    static void cacheNesting(const std::string& path, const std::vector<std::string>& nested) {
        PrefabBuilder prefab;
        prefab.root(id(1));
        std::uint64_t number = 2;
        for (const std::string& resource : nested) {
            prefab.nested(id(number), "Point", id(1), resource);
            ++number;
        }
        cachePrefab(path, prefab);
    }

    [[nodiscard]] static std::vector<std::string> pathsOf(const std::string& path, bool reportFailures = false) {
        std::vector<std::string> paths;
        for (const auto& [found, prefab] : Loading::loadDescriptorsRecursively(path, reportFailures)) {
            EXPECT_EQ(prefab, service().loadPrefabData(found));
            EXPECT_NE(prefab, nullptr);
            paths.push_back(found);
        }
        return paths;
    }
};

TEST_F(RecursiveDescriptors, file_isListedOnceThoughItNamesItself) {
    PrefabText prefab;
    prefab.root(id(1), "Lamp");
    writePrefab("lamp.prefab", prefab);

    EXPECT_THAT(pathsOf("lamp.prefab"), ElementsAre("lamp.prefab"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(RecursiveDescriptors, prefabThatNestsItself_isListedOnce) {
    cacheNesting("self", {"self", "self"});

    EXPECT_THAT(pathsOf("self"), ElementsAre("self"));
}

TEST_F(RecursiveDescriptors, nestedPrefabs_areListedAtAnyDepth) {
    for (int level = 0; level < 20; ++level) {
        cacheNesting("level" + std::to_string(level), {"level" + std::to_string(level + 1)});
    }
    cacheNesting("level20", {});

    EXPECT_EQ(pathsOf("level0").size(), 21U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(RecursiveDescriptors, cycle_ends) {
    cacheNesting("a", {"b"});
    cacheNesting("b", {"c"});
    cacheNesting("c", {"a"});

    EXPECT_THAT(pathsOf("b"), UnorderedElementsAre("a", "b", "c"));
}

TEST_F(RecursiveDescriptors, sharedPrefab_isListedOnce) {
    cacheNesting("a", {"b", "c", "b"});
    cacheNesting("b", {"c"});
    cacheNesting("c", {});

    EXPECT_THAT(pathsOf("a"), UnorderedElementsAre("a", "b", "c"));
}

TEST_F(RecursiveDescriptors, missingFile_isReportedByTheParserAlone) {
    EXPECT_THAT(pathsOf("none.prefab", true), IsEmpty());
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found none.prefab"));
}

TEST_F(RecursiveDescriptors, missingNestedFile_isLeftOut) {
    cacheNesting("a", {"none.prefab", "b"});
    cacheNesting("b", {});

    EXPECT_THAT(pathsOf("a", true), UnorderedElementsAre("a", "b"));
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found none.prefab"));
}

TEST_F(RecursiveDescriptors, emptyPrefab_isLeftOutAndReportedOnRequest) {
    cachePrefab("empty.prefab", PrefabBuilder());

    EXPECT_THAT(pathsOf("empty.prefab", true), IsEmpty());
    EXPECT_THAT(logged(), ElementsAre("5: Failed to load prefab data for 'empty.prefab'"));
}

TEST_F(RecursiveDescriptors, emptyPrefab_withoutRequest_isLeftOutSilently) {
    cachePrefab("empty.prefab", PrefabBuilder());

    EXPECT_THAT(pathsOf("empty.prefab", false), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(RecursiveDescriptors, nestedEmptyPrefab_isReportedEvenWithoutRequest) {
    cacheNesting("a", {"empty.prefab"});
    cachePrefab("empty.prefab", PrefabBuilder());

    EXPECT_THAT(pathsOf("a", false), ElementsAre("a"));
    EXPECT_THAT(logged(), ElementsAre("5: Failed to load prefab data for 'empty.prefab'"));
}

TEST_F(RecursiveDescriptors, nestedEmptyPrefabTwice_isReportedPerReference) {
    cacheNesting("a", {"empty.prefab", "empty.prefab"});
    cachePrefab("empty.prefab", PrefabBuilder());

    EXPECT_THAT(pathsOf("a", false), ElementsAre("a"));
    EXPECT_EQ(log.count("Failed to load prefab data for 'empty.prefab'"), 2U);
}

TEST_F(RecursiveDescriptors, nestedPrefabs_areVisitedDepthFirstInNodeOrder) {
    cacheNesting("a", {"b", "second.prefab"});
    cacheNesting("b", {"deep.prefab"});

    EXPECT_THAT(pathsOf("a"), UnorderedElementsAre("a", "b"));
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found deep.prefab", "5: Prefab not found second.prefab"));
}

} // namespace
} // namespace Kiln::TestSupport
