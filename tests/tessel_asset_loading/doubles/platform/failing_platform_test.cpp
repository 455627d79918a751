#include "platform_doubles.h"
#include <tessel_asset_loading/support/document_fixture.h>

#include <algorithm>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;
using Tessel::NativeComponent;
using Tessel::PrefabComponent;
using testing::ElementsAre;
using testing::IsEmpty;

// Opening files.

class OpeningFiles : public DocumentFixture {
protected:
    PlatformDoubles doubles;
};

TEST_F(OpeningFiles, loadHierarchy_opensTheFileOnceAndReportsAMissingOneItself) {
    (void)GameObjectPrefab::loadHierarchy("no/such.prefab", nullptr);
    EXPECT_THAT(doubles.calls, ElementsAre("openXmlSection no/such.prefab true"));
}

TEST_F(OpeningFiles, hasNestedPrefabs_opensTheFileOnceAndLeavesNothingToReport) {
    (void)GameObjectPrefab::hasNestedPrefabs("no/such.prefab");
    EXPECT_THAT(doubles.calls, ElementsAre("openXmlSection no/such.prefab true"));
}

TEST_F(OpeningFiles, loadHierarchy_nestedPrefabs_areNotOpened) {
    PrefabText document;
    document.root(id(1), "Lamp");
    document.nested(id(2), "Switch", id(1), "switch.prefab");
    writePrefab("lamp.prefab", document);
    (void)GameObjectPrefab::loadHierarchy("lamp.prefab", nullptr);
    EXPECT_EQ(std::count(doubles.calls.begin(), doubles.calls.end(), "openXmlSection lamp.prefab true"), 1);
    EXPECT_EQ(std::count(doubles.calls.begin(), doubles.calls.end(), "openXmlSection switch.prefab true"), 0);
}

TEST_F(OpeningFiles, hasNestedPrefabs_makesNoComponentStorage) {
    directory.writeFile("bare.prefab", "<prefab/>");
    EXPECT_FALSE(GameObjectPrefab::hasNestedPrefabs("bare.prefab"));
    EXPECT_THAT(doubles.calls, ElementsAre("openXmlSection bare.prefab true"));
}

TEST_F(OpeningFiles, getNestedPrefabs_opensNothing) {
    PrefabText document;
    document.component("PrefabComponent", 0, element("resource", "a"));
    PrefabBuilder builder;
    builder.root(id(1)).nested(id(2), "", id(1), "a");
    (void)GameObjectPrefab::getNestedPrefabs(document.section());
    (void)builder.build().getNestedPrefabs();
    EXPECT_THAT(doubles.calls, IsEmpty());
}

// The library that makes the root's PrefabComponent.

class StampingPaths : public DocumentFixture {
protected:
    StampingPaths() { doubles.libraryService = &library; }

    [[nodiscard]] std::unique_ptr<GameObjectPrefab> load() {
        writePrefab("lamp.prefab", document);
        return GameObjectPrefab::loadHierarchy("lamp.prefab", &handler);
    }

    PrefabText document;
    ComponentLibrary library; // Knows no type at first.
    PlatformDoubles doubles;
};

TEST_F(StampingPaths, prefabComponentNotRegistered_isLoggedAndTheRootStaysWithoutIt) {
    document.root(id(1), "Lamp");
    const std::unique_ptr<GameObjectPrefab> loaded = load();
    ASSERT_NE(loaded, nullptr);
    ASSERT_EQ(loaded->nodesCount(), 1U);
    EXPECT_TRUE(loaded->getGameObject(0)->components().empty());
    EXPECT_THAT(logged(), ElementsAre("5: Component with provided type is not registered in the library"));
    EXPECT_THAT(handled, IsEmpty());
}

TEST_F(StampingPaths, prefabComponentNotRegistered_aNullDescriptorIsAdded) {
    document.root(id(1), "Lamp");
    (void)load();
    EXPECT_THAT(doubles.calls, ElementsAre("openXmlSection lamp.prefab true", "addComponent null"));
}

TEST_F(StampingPaths, rootHasAPrefabComponent_theLibraryIsNotAsked) {
    document.component("PrefabComponent", document.root(id(1), "Lamp"), PrefabText::prefabProperties("old.prefab"));
    const std::unique_ptr<GameObjectPrefab> loaded = load();
    EXPECT_EQ(findDescriptor<PrefabComponent>(*loaded->getGameObject(0)).config().resource, "lamp.prefab");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(StampingPaths, noRoot_theLibraryIsNotAsked) {
    document.child(id(2), "Bulb", id(1));
    (void)load();
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(StampingPaths, factoryYieldsNull_theRootStaysWithoutItSilently) {
    ComponentRecord record = makeComponentRecord<PrefabComponent>("PrefabComponent");
    record.factory = [] { return SmartPointer<IComponentDescriptor>(); };
    library.append(std::move(record));
    document.root(id(1), "Lamp");
    const std::unique_ptr<GameObjectPrefab> loaded = load();
    ASSERT_NE(loaded, nullptr);
    EXPECT_TRUE(loaded->getGameObject(0)->components().empty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(StampingPaths, componentIsFoundByItsClassInTheServicesLibrary) {
    ComponentRecord record = makeComponentRecord<PrefabComponent>("Marker");
    library.append(std::move(record));
    document.root(id(1), "Lamp");
    const std::unique_ptr<GameObjectPrefab> loaded = load();
    ASSERT_EQ(loaded->getGameObject(0)->components().size(), 1U);
    const auto& component = findDescriptor<PrefabComponent>(*loaded->getGameObject(0));
    EXPECT_EQ(component.name(), "Marker");
    EXPECT_EQ(component.config().resource, "lamp.prefab");
}

TEST_F(StampingPaths, componentsOfTheDocument_areMadeByTheProcesssLibrary) {
    document.component("TagComponent", document.root(id(1), "Lamp"), element("tag", "lit"));
    const std::unique_ptr<GameObjectPrefab> loaded = load();
    EXPECT_EQ(findDescriptor<TagComponent>(*loaded->getGameObject(0)).config().tag, "lit");
}

// Stored game objects without a descriptor.

class NullNodes : public DocumentFixture {
protected:
    /// Reads a null node, one named "Kept" and another null node.
    NullNodes() {
        doubles.isGameObjectNull = [number = 0](const std::string& /*source*/) mutable { return number++ % 2 == 0; };
        PrefabText document;
        document.root(id(1));
        document.root(id(2), "Kept");
        document.root(id(3));
        prefab.deserialize(document.section(), &handler);
    }

    PlatformDoubles doubles;
};

TEST_F(NullNodes, deserialize_appendsThemAsTheyCome) {
    ASSERT_EQ(prefab.nodesCount(), 3U);
    EXPECT_EQ(prefab.getGameObject(0), nullptr);
    EXPECT_EQ(prefab.getGameObject(1)->name(), "Kept");
    EXPECT_EQ(prefab.getGameObject(2), nullptr);
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NullNodes, removeGameObject_null_removesTheFirst) {
    prefab.removeGameObject(nullptr);
    ASSERT_EQ(prefab.nodesCount(), 2U);
    EXPECT_EQ(prefab.getGameObject(0)->name(), "Kept");
    EXPECT_EQ(prefab.getGameObject(1), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NullNodes, removeGameObject_otherDescriptor_leavesThem) {
    prefab.removeGameObject(prefab.getGameObject(1));
    ASSERT_EQ(prefab.nodesCount(), 2U);
    EXPECT_EQ(prefab.getGameObject(0), nullptr);
    EXPECT_EQ(prefab.getGameObject(1), nullptr);
}

TEST_F(NullNodes, addGameObject_null_isRefusedAllTheSame) {
    prefab.addGameObject(nullptr);
    EXPECT_EQ(prefab.nodesCount(), 3U);
    EXPECT_THAT(logged(),
                ElementsAre("5: Cannot create Game Objects hierarchy node. Game object descriptor is nullptr."));
}

TEST_F(NullNodes, copy_holdsThemToo) {
    const GameObjectPrefab copy(prefab);
    ASSERT_EQ(copy.nodesCount(), 3U);
    EXPECT_EQ(copy.getGameObject(0), nullptr);
    EXPECT_EQ(copy.getGameObject(1), prefab.getGameObject(1));
}

TEST_F(NullNodes, clear_removesThem) {
    prefab.clear();
    EXPECT_TRUE(prefab.isEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
