#include <tessel_asset_loading/support/document_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;
using Tessel::PrefabComponent;
using testing::ElementsAre;
using testing::IsEmpty;

class LoadingFiles : public DocumentFixture {
protected:
    static constexpr const char* PATH = "props/lamp.prefab";

    [[nodiscard]] std::unique_ptr<GameObjectPrefab> load(const PrefabText& document) {
        writePrefab(PATH, document);
        return GameObjectPrefab::loadHierarchy(PATH, &handler);
    }
};

TEST_F(LoadingFiles, loadHierarchy_readsTheFile) {
    PrefabText document;
    document.root(id(1), "Lamp");
    document.child(id(2), "Bulb", id(1));
    const std::unique_ptr<GameObjectPrefab> loaded = load(document);
    ASSERT_NE(loaded, nullptr);
    ASSERT_EQ(loaded->nodesCount(), 2U);
    EXPECT_EQ(loaded->getGameObject(1)->name(), "Bulb");
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadingFiles, loadHierarchy_rootGetsAPrefabComponentWithThePath) {
    PrefabText document;
    document.child(id(2), "Bulb", id(1));
    document.root(id(1), "Lamp");
    const std::unique_ptr<GameObjectPrefab> loaded = load(document);
    ASSERT_EQ(loaded->getGameObject(1)->components().size(), 1U);
    const PrefabComponent::Config& config = findDescriptor<PrefabComponent>(*loaded->getGameObject(1)).config();
    EXPECT_EQ(config.resource, PATH);
    EXPECT_EQ(config.overridesData, "");
    EXPECT_FALSE(config.hasOverrides);
}

TEST_F(LoadingFiles, loadHierarchy_thePathIsOneOfThePrefabsOwnValues) {
    PrefabText document;
    document.root(id(1), "Lamp");
    const std::unique_ptr<GameObjectPrefab> loaded = load(document);
    auto& component = findDescriptor<PrefabComponent>(*loaded->getGameObject(0));
    component.setupOverrides(nullptr);
    EXPECT_EQ(component.config().resource, PATH);
}

TEST_F(LoadingFiles, loadHierarchy_rootHasAPrefabComponent_itsResourceIsReplacedAndTheRestKept) {
    PrefabText document;
    const std::size_t root = document.root(id(1), "Lamp");
    document.component("PrefabComponent", root, PrefabText::prefabProperties("moved/from.prefab", "<overrides/>"));
    const std::unique_ptr<GameObjectPrefab> loaded = load(document);
    ASSERT_EQ(loaded->getGameObject(0)->components().size(), 1U);
    auto& component = findDescriptor<PrefabComponent>(*loaded->getGameObject(0));
    EXPECT_EQ(component.config().resource, PATH);
    EXPECT_EQ(component.config().overridesData, "<overrides/>");
    component.setupOverrides(nullptr);
    EXPECT_EQ(component.config().resource, PATH);
}

TEST_F(LoadingFiles, loadHierarchy_thePrefabComponentFollowsTheStoredOnes) {
    PrefabText document;
    document.component("TagComponent", document.root(id(1), "Lamp"));
    const std::unique_ptr<GameObjectPrefab> loaded = load(document);
    const auto& components = loaded->getGameObject(0)->components();
    ASSERT_EQ(components.size(), 2U);
    EXPECT_EQ(components[0]->name(), "TagComponent");
    EXPECT_EQ(components[1]->name(), "PrefabComponent");
}

TEST_F(LoadingFiles, loadHierarchy_onlyTheFirstRootIsStamped) {
    PrefabText document;
    document.root(id(1), "First");
    document.root(id(2), "Second");
    const std::unique_ptr<GameObjectPrefab> loaded = load(document);
    EXPECT_EQ(loaded->getGameObject(0)->components().size(), 1U);
    EXPECT_TRUE(loaded->getGameObject(1)->components().empty());
}

TEST_F(LoadingFiles, loadHierarchy_noRoot_nothingIsStamped) {
    PrefabText document;
    document.child(id(2), "Bulb", id(1));
    const std::unique_ptr<GameObjectPrefab> loaded = load(document);
    ASSERT_EQ(loaded->nodesCount(), 1U);
    EXPECT_EQ(loaded->getGameObject(0)->components().size(), 1U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadingFiles, loadHierarchy_integrationPointsKeepTheirResource) {
    PrefabText document;
    document.root(id(1), "Lamp");
    document.nested(id(2), "Switch", id(1), "props/switch.prefab");
    const std::unique_ptr<GameObjectPrefab> loaded = load(document);
    EXPECT_THAT(loaded->getNestedPrefabs(), ElementsAre(PATH, "props/switch.prefab"));
}

TEST_F(LoadingFiles, loadHierarchy_fatalProblem_yieldsAnEmptyPrefab) {
    const std::unique_ptr<GameObjectPrefab> loaded = load(PrefabText().formatVersion(2));
    ASSERT_NE(loaded, nullptr);
    EXPECT_TRUE(loaded->isEmpty());
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Format version mismatch. Current version: 1. Prefab version: "
                                     "2. Content conversion is required."));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadingFiles, loadHierarchy_missingFile_isReportedToTheHandlerAndTheLog) {
    EXPECT_EQ(GameObjectPrefab::loadHierarchy("no/such.prefab", &handler), nullptr);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Prefab not found: no/such.prefab"));
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found no/such.prefab"));
}

TEST_F(LoadingFiles, loadHierarchy_missingFile_isReportedToTheHandlerFirst) {
    std::size_t loggedBefore = 99;
    handler.callback = [&](const std::string& /*message*/) { loggedBefore = logged().size(); };
    EXPECT_EQ(GameObjectPrefab::loadHierarchy("no/such.prefab", &handler), nullptr);
    EXPECT_EQ(loggedBefore, 0U);
    EXPECT_EQ(logged().size(), 1U);
}

TEST_F(LoadingFiles, loadHierarchy_missingFileAndEmptyCallback_failsAsAnEmptyFunctionDoes) {
    handler.callback = nullptr;
    EXPECT_THROW((void)GameObjectPrefab::loadHierarchy("no/such.prefab", &handler), std::bad_function_call);
}

TEST_F(LoadingFiles, loadHierarchy_missingFileWithPercentSigns_isNamedUnchanged) {
    handler.context = "%s";
    EXPECT_EQ(GameObjectPrefab::loadHierarchy("no/100%d.prefab", &handler), nullptr);
    EXPECT_THAT(handled, ElementsAre("%s. Prefab not found: no/100%d.prefab"));
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found no/100%d.prefab"));
}

TEST_F(LoadingFiles, loadHierarchy_missingFileWithoutHandler_isLogged) {
    EXPECT_EQ(GameObjectPrefab::loadHierarchy("no/such.prefab", nullptr), nullptr);
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found no/such.prefab"));
}

TEST_F(LoadingFiles, loadHierarchy_malformedFile_isNotFoundEither) {
    directory.writeFile(PATH, "<prefab><formatVersion>1</formatVersion>");
    EXPECT_EQ(GameObjectPrefab::loadHierarchy(PATH, &handler), nullptr);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Prefab not found: props/lamp.prefab"));
    EXPECT_EQ(log.count("Prefab not found props/lamp.prefab"), 1U);
}

// Reading by path with problems of each kind.

TEST_F(LoadingFiles, loadHierarchy_problemsReachTheHandler) {
    PrefabText document;
    document.root(id(1), "Lamp");
    document.component("NoSuchComponent", 0);
    (void)load(document);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Cannot found component: NoSuchComponent"));
}

TEST_F(LoadingFiles, loadHierarchy_problemsWithoutHandler_areLogged) {
    PrefabText document;
    document.root(id(1), "Lamp");
    document.poolVersion("TagComponent", 2);
    writePrefab(PATH, document);
    ASSERT_NE(GameObjectPrefab::loadHierarchy(PATH, nullptr), nullptr);
    EXPECT_THAT(logged(), ElementsAre("5: Component version mismatch. Component: 'TagComponent' Current version: 1. "
                                      "Version in prefab: 2. Content conversion is required. Correct deserialization "
                                      "isn't guaranteed."));
}

// validateHierarchy.

TEST_F(LoadingFiles, validateHierarchy_resourceNamesAMissingFile_isReportedTwice) {
    const SmartPointer<DataSection> section = DataSection::create("instance");
    section->writeString("resource", "no/such.prefab");
    Tessel::Loading::validateHierarchy(section, handler);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Prefab not found: no/such.prefab"));
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found no/such.prefab"));
}

TEST_F(LoadingFiles, validateHierarchy_resourceNamesAFile_thatFileIsRead) {
    PrefabText document;
    document.root(id(1), "Lamp");
    document.component("NoSuchComponent", 0);
    writePrefab(PATH, document);
    const SmartPointer<DataSection> section = DataSection::create("instance");
    section->writeString("resource", PATH);
    Tessel::Loading::validateHierarchy(section, handler);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Cannot found component: NoSuchComponent"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadingFiles, validateHierarchy_noResource_theSectionIsRead) {
    Tessel::Loading::validateHierarchy(PrefabText().withoutGameObjectPool().section(), handler);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Prefab doesn't contain game objects."));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadingFiles, validateHierarchy_emptyResource_theSectionIsRead) {
    const SmartPointer<DataSection> section = PrefabText().withoutGameObjectPool().section();
    section->writeString("resource", "");
    Tessel::Loading::validateHierarchy(section, handler);
    EXPECT_THAT(handled, ElementsAre("Checking harbour. Prefab doesn't contain game objects."));
}

TEST_F(LoadingFiles, validateHierarchy_soundDocument_reportsNothing) {
    PrefabText document;
    document.root(id(1), "Lamp");
    Tessel::Loading::validateHierarchy(document.section(), handler);
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadingFiles, validateHierarchy_doesNotGoIntoNestedPrefabs) {
    PrefabText document;
    document.root(id(1), "Lamp");
    document.nested(id(2), "Gone", id(1), "no/such.prefab");
    Tessel::Loading::validateHierarchy(document.section(), handler);
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadingFiles, validateHierarchy_cachesAndCreatesNothing) {
    PrefabText document;
    document.root(id(1), "Lamp");
    Tessel::Loading::validateHierarchy(document.section(), handler);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

} // namespace
} // namespace Kiln::TestSupport
