#include <tessel_asset_loading/support/document_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;
using testing::ElementsAre;
using testing::IsEmpty;

using Reading = DocumentFixture;

// Game objects.

TEST_F(Reading, deserialize_gameObjectsWithoutComponentStorage_yieldsNodesInFileOrder) {
    PrefabText document;
    document.root(id(1), "One");
    document.root(id(2), "Two", 0x15);
    document.root(id(3));
    prefab.deserialize(document.section(), nullptr);
    ASSERT_EQ(prefab.nodesCount(), 3U);
    EXPECT_EQ(prefab.getGameObject(0)->uuid(), id(1));
    EXPECT_EQ(prefab.getGameObject(0)->name(), "One");
    EXPECT_EQ(prefab.getGameObject(1)->uuid(), id(2));
    EXPECT_EQ(prefab.getGameObject(1)->flags().to_ulong(), 0x15U);
    EXPECT_EQ(prefab.getGameObject(2)->name(), "");
    EXPECT_TRUE(prefab.getGameObject(0)->components().empty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Reading, deserialize_emptyGameObjectPool_isNoError) {
    prefab.deserialize(PrefabText().section(), &handler);
    EXPECT_TRUE(prefab.isEmpty());
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Reading, deserialize_emptyGameObjectPool_componentsAreLookedAt) {
    prefab.deserialize(PrefabText().component("TagComponent", 0).section(), &handler);
    EXPECT_THAT(logged(), ElementsAre("5: Error deserializing component 'TagComponent'. Game Object index out of "
                                      "range."));
}

TEST_F(Reading, deserialize_withoutComponentStorage_reportsNothingToTheHandler) {
    PrefabText document;
    document.root(id(1));
    prefab.deserialize(document.section(), &handler);
    EXPECT_EQ(prefab.nodesCount(), 1U);
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Reading, deserialize_intoAFilledPrefab_appends) {
    PrefabText first;
    first.root(id(1), "One");
    PrefabText second;
    second.root(id(2), "Two");
    prefab.deserialize(first.section(), nullptr);
    prefab.deserialize(second.section(), nullptr);
    ASSERT_EQ(prefab.nodesCount(), 2U);
    EXPECT_EQ(prefab.getGameObject(0)->name(), "One");
    EXPECT_EQ(prefab.getGameObject(1)->name(), "Two");
}

TEST_F(Reading, deserialize_intoAFilledPrefab_itemsCountFromTheStartOfTheList) {
    prefab.addGameObject(makeNode(id(9), "Present"));
    PrefabText document;
    document.root(id(1), "Read");
    document.component("TagComponent", 0, element("tag", "first"))
        .component("TagComponent", 1, element("tag", "second"));
    prefab.deserialize(document.section(), nullptr);
    EXPECT_EQ(findDescriptor<TagComponent>(*prefab.getGameObject(0)).config().tag, "first");
    EXPECT_EQ(findDescriptor<TagComponent>(*prefab.getGameObject(1)).config().tag, "second");
    EXPECT_THAT(logged(), IsEmpty());
}

// Format version.

TEST_F(Reading, deserialize_newerFormatVersion_isFatalAndReportedToTheHandlerOnly) {
    PrefabText document;
    document.formatVersion(2).root(id(1));
    prefab.deserialize(document.section(), &handler);
    EXPECT_TRUE(prefab.isEmpty());
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Format version mismatch. Current version: 1. Prefab version: "
                                     "2. Content conversion is required."));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Reading, deserialize_newerFormatVersionWithoutHandler_isLogged) {
    PrefabText document;
    document.formatVersion(2).root(id(1));
    prefab.deserialize(document.section(), nullptr);
    EXPECT_TRUE(prefab.isEmpty());
    EXPECT_THAT(logged(), ElementsAre("5: Failed to deserialize prefab. Format version mismatch. Current version: 1. "
                                      "Prefab version: 2. Content conversion is required."));
}

TEST_F(Reading, deserialize_missingFormatVersion_isAMismatch) {
    PrefabText document;
    document.formatVersion(std::nullopt).root(id(1));
    prefab.deserialize(document.section(), nullptr);
    EXPECT_TRUE(prefab.isEmpty());
    EXPECT_THAT(logged(), ElementsAre("5: Failed to deserialize prefab. Format version mismatch. Current version: 1. "
                                      "Prefab version: 0. Content conversion is required."));
}

TEST_F(Reading, deserialize_largestFormatVersion_isPrintedAsASignedNumber) {
    prefab.deserialize(PrefabText().formatVersion(4294967295U).section(), &handler);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Format version mismatch. Current version: 1. Prefab version: "
                                     "-1. Content conversion is required."));
}

TEST_F(Reading, deserialize_wrongFormatVersion_componentsAreNotLookedAt) {
    prefab.deserialize(PrefabText().formatVersion(2).component("TagComponent", 9).section(), nullptr);
    EXPECT_EQ(logged().size(), 1U);
}

TEST_F(Reading, deserialize_noGameObjectPool_leavesTheNodesThatWereThere) {
    prefab.addGameObject(makeNode(id(9)));
    prefab.deserialize(PrefabText().withoutGameObjectPool().component("TagComponent", 0).section(), &handler);
    ASSERT_EQ(prefab.nodesCount(), 1U);
    EXPECT_TRUE(prefab.getGameObject(0)->components().empty());
}

TEST_F(Reading, deserialize_wrongFormatVersion_leavesTheNodesThatWereThere) {
    prefab.addGameObject(makeNode(id(9)));
    PrefabText document;
    document.formatVersion(2).root(id(1));
    prefab.deserialize(document.section(), &handler);
    EXPECT_EQ(prefab.nodesCount(), 1U);
}

TEST_F(Reading, deserialize_wrongVersionAndNoGameObjects_reportsTheVersionOnly) {
    prefab.deserialize(PrefabText().formatVersion(3).withoutGameObjectPool().section(), &handler);
    EXPECT_EQ(handled.size(), 1U);
}

// Missing game objects.

TEST_F(Reading, deserialize_noGameObjectPool_isFatalAndReportedToTheHandlerOnly) {
    PrefabText document;
    document.withoutGameObjectPool().component("NoSuchComponent", 0);
    prefab.deserialize(document.section(), &handler);
    EXPECT_TRUE(prefab.isEmpty());
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Prefab doesn't contain game objects."));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Reading, deserialize_noGameObjectPoolWithoutHandler_isLogged) {
    prefab.deserialize(PrefabText().withoutGameObjectPool().section(), nullptr);
    EXPECT_TRUE(prefab.isEmpty());
    EXPECT_THAT(logged(), ElementsAre("5: Failed to deserialize prefab. Prefab doesn't contain game objects."));
}

// Texts with printf's special characters are logged unchanged.

TEST_F(Reading, deserialize_percentSignsInContextAndType_areKept) {
    handler.context = "100%s";
    PrefabText document;
    document.root(id(1));
    document.component("Odd%dName", 0);
    prefab.deserialize(document.section(), &handler);
    EXPECT_THAT(handled, ElementsAre("100%s. Cannot found component: Odd%dName"));
}

TEST_F(Reading, deserialize_emptyCallback_failsAsAnEmptyFunctionDoes) {
    handler.callback = nullptr;
    EXPECT_THROW(prefab.deserialize(PrefabText().formatVersion(2).section(), &handler), std::bad_function_call);
}

TEST_F(Reading, deserialize_percentSignsBeforeAVersionMismatch_areKept) {
    PrefabText document;
    document.component("TagComponent", 0).poolVersion("TagComponent", 2);
    handler.context = "%d%n";
    prefab.deserialize(document.section(), &handler);
    EXPECT_THAT(handled,
                ElementsAre("%d%n. Component version mismatch. Component: 'TagComponent' Current version: 1. Version "
                            "in prefab: 2. Content conversion is required. Correct deserialization isn't guaranteed."));
}

// The overload from a section.

TEST_F(Reading, loadHierarchy_section_readsIt) {
    PrefabText document;
    document.root(id(1), "Root");
    const std::unique_ptr<GameObjectPrefab> loaded = GameObjectPrefab::loadHierarchy(document.section(), nullptr);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->nodesCount(), 1U);
}

TEST_F(Reading, loadHierarchy_section_rootGetsNoPrefabComponent) {
    PrefabText document;
    document.root(id(1), "Root");
    const std::unique_ptr<GameObjectPrefab> loaded = GameObjectPrefab::loadHierarchy(document.section(), nullptr);
    EXPECT_TRUE(loaded->getGameObject(0)->components().empty());
}

TEST_F(Reading, loadHierarchy_sectionWithFatalProblemAndNoHandler_isLogged) {
    const std::unique_ptr<GameObjectPrefab> loaded =
        GameObjectPrefab::loadHierarchy(PrefabText().withoutGameObjectPool().section(), nullptr);
    ASSERT_NE(loaded, nullptr);
    EXPECT_TRUE(loaded->isEmpty());
    EXPECT_THAT(logged(), ElementsAre("5: Failed to deserialize prefab. Prefab doesn't contain game objects."));
}

TEST_F(Reading, loadHierarchy_sectionWithFatalProblem_yieldsAnEmptyPrefab) {
    const std::unique_ptr<GameObjectPrefab> loaded =
        GameObjectPrefab::loadHierarchy(PrefabText().formatVersion(2).section(), &handler);
    ASSERT_NE(loaded, nullptr);
    EXPECT_TRUE(loaded->isEmpty());
    EXPECT_EQ(handled.size(), 1U);
}

} // namespace
} // namespace Kiln::TestSupport
