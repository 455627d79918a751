#include <tessel_asset_loading/support/document_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;

/// Counts its configurations, and so the component descriptors that are alive.
class CountedComponent final : public Tessel::PoolableComponent<CountedComponent, Tessel::IComponent> {
public:
    struct Config {
        Config() { ++alive; }
        Config(const Config& /*other*/) { ++alive; }
        Config& operator=(const Config& /*other*/) { return *this; }
        ~Config() { --alive; }
    };

    explicit CountedComponent(const Config& /*config*/) {}

    static inline int alive = 0;
};

const ComponentRegistration<CountedComponent> s_counted("CountedComponent", [](auto& /*config*/) {});

/// Who owns sections and prefabs, and for how long.
class DocumentLifetime : public DocumentFixture {
protected:
    DocumentLifetime() {
        document.root(id(1), "Root");
        document.component("CountedComponent", 0);
        section = document.section();
    }

    PrefabText document;
    SmartPointer<DataSection> section; // The only reference at first.
};

TEST_F(DocumentLifetime, deserialize_doesNotKeepTheSection) {
    prefab.deserialize(section, nullptr);
    EXPECT_EQ(section->refCount(), 1U);
}

TEST_F(DocumentLifetime, serialize_doesNotKeepTheSection) {
    section = DataSection::create("prefab");
    prefab.serialize(section);
    EXPECT_EQ(section->refCount(), 1U);
}

TEST_F(DocumentLifetime, loadHierarchy_doesNotKeepTheSection) {
    const std::unique_ptr<GameObjectPrefab> loaded = GameObjectPrefab::loadHierarchy(section, nullptr);
    EXPECT_EQ(section->refCount(), 1U);
}

TEST_F(DocumentLifetime, deserialize_nodesOutliveTheSection) {
    prefab.deserialize(section, nullptr);
    section.reset();
    EXPECT_EQ(prefab.getGameObject(0)->name(), "Root");
    EXPECT_EQ(CountedComponent::alive, 1);
}

TEST_F(DocumentLifetime, deserialize_nodesBelongToThePrefabAlone) {
    prefab.deserialize(section, nullptr);
    EXPECT_EQ(prefab.getGameObject(0)->refCount(), 2U); // The list's and the result's.
}

TEST_F(DocumentLifetime, loadHierarchy_thePrefabBelongsToTheCaller) {
    std::unique_ptr<GameObjectPrefab> loaded = GameObjectPrefab::loadHierarchy(section, nullptr);
    EXPECT_EQ(CountedComponent::alive, 1);
    loaded.reset();
    EXPECT_EQ(CountedComponent::alive, 0);
}

TEST_F(DocumentLifetime, validateHierarchy_ofASection_leavesNoPrefab) {
    Tessel::Loading::validateHierarchy(section, handler);
    EXPECT_EQ(CountedComponent::alive, 0);
    EXPECT_EQ(section->refCount(), 1U);
}

TEST_F(DocumentLifetime, validateHierarchy_ofAFile_leavesNoPrefab) {
    writePrefab("lamp.prefab", document);
    section = DataSection::create("instance");
    section->writeString("resource", "lamp.prefab");
    Tessel::Loading::validateHierarchy(section, handler);
    EXPECT_EQ(CountedComponent::alive, 0);
}

TEST_F(DocumentLifetime, getNestedPrefabs_leavesTheDocumentAsItWas) {
    const std::string before = section->toText();
    (void)GameObjectPrefab::getNestedPrefabs(section);
    EXPECT_EQ(section->refCount(), 1U);
    EXPECT_EQ(section->toText(), before);
}

TEST_F(DocumentLifetime, deserialize_leavesTheDocumentAsItWas) {
    const std::string before = section->toText();
    prefab.deserialize(section, nullptr);
    EXPECT_EQ(section->toText(), before);
}

TEST_F(DocumentLifetime, validateHierarchy_leavesTheDocumentAsItWas) {
    section = DataSection::create("instance");
    const std::string before = section->toText();
    Tessel::Loading::validateHierarchy(section, handler);
    EXPECT_EQ(section->toText(), before);
}

} // namespace
} // namespace Kiln::TestSupport
