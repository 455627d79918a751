#include <tessel_asset_loading/support/document_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::ComponentOptions;
using Tessel::NativeComponent;
using testing::ElementsAre;
using testing::IsEmpty;

struct WitnessConfig {
    std::string tag;
};

class WitnessComponent final : public Tessel::PoolableComponent<WitnessComponent, Tessel::IComponent> {
public:
    using Config = WitnessConfig;
    explicit WitnessComponent(const Config& /*config*/) {}
};

std::vector<std::string> s_calls;
std::function<bool()> s_isAttached = [] { return false; };

/// Records the calls that it gets, and the state at that time.
class WitnessDescriptor final : public IComponentDescriptor {
public:
    explicit WitnessDescriptor(std::string tag = "unread") { m_config.tag = std::move(tag); }

    [[nodiscard]] const std::string& name() const override { return m_name; }
    [[nodiscard]] const std::string& libraryPath() const override { return m_name; }
    [[nodiscard]] const std::string& category() const override { return m_name; }
    [[nodiscard]] const mirra::BaseStaticMetaObject* metaType() const override { return nullptr; }
    [[nodiscard]] Tessel::ComponentTypeId type() const override { return NativeComponent<WitnessComponent>::getType(); }
    [[nodiscard]] bool isOffPrefabProperties() const override { return false; }
    [[nodiscard]] bool hasLinks() const override { return false; }

    void removeFromObject(Tessel::GameObject /*object*/) override { call("removeFromObject"); }
    [[nodiscard]] vessa::Variant reflect() override {
        call("reflect");
        return {};
    }
    void preload() const override { call("preload"); }
    Tessel::IComponent* createOnObject(Tessel::GameObject /*object*/) override {
        call("createOnObject");
        return nullptr;
    }
    void instantiate(ObjectCreation& /*creation*/, const ComponentOverrideRecords* /*overrides*/) override {
        call("instantiate");
    }
    Tessel::IComponent* reapplyOnObject(Tessel::GameObject /*object*/, const Uuid& /*instanceUuid*/,
                                        const UuidMap& /*uuidMap*/) override {
        call("reapplyOnObject");
        return nullptr;
    }
    [[nodiscard]] mirra::ReflectedObject configuration() override {
        call("configuration");
        return view();
    }
    [[nodiscard]] mirra::ReflectedObject viewConfiguration() override {
        call("viewConfiguration");
        return view();
    }
    void storePrefabProperties() override { call("storePrefabProperties"); }
    void setupOverrides(const ComponentOverrideRecords* /*overrides*/) override { call("setupOverrides"); }

private:
    void call(const std::string& operation) const {
        s_calls.push_back(operation + ": " + m_config.tag + ", options " + std::to_string(getInstanceOptions().bits()) +
                          (s_isAttached() ? ", attached" : ""));
    }

    [[nodiscard]] mirra::ReflectedObject view() {
        mirra::ReflectedObject object;
        object.init(*mirra::MetaObjectManager::instance().findType(typeid(WitnessConfig)), &m_config);
        return object;
    }

    std::string m_name = "WitnessComponent";
    WitnessConfig m_config;
};

struct WitnessRegistration {
    WitnessRegistration() {
        mirra::StaticMetaObjectBuilder<WitnessConfig> config("WitnessComponent::Config");
        config.addProperty<&WitnessConfig::tag>("tag");
        config.finish();
        ComponentRecord record = makeComponentRecord<WitnessComponent>("WitnessComponent");
        record.factory = []() -> SmartPointer<IComponentDescriptor> { return makeSmart<WitnessDescriptor>(); };
        ComponentLibrary::instance().append(std::move(record));
    }
};

const WitnessRegistration s_registration;

/// The calls that a component descriptor gets during reading and writing, in order.
class ComponentCallOrder : public DocumentFixture {
protected:
    ComponentCallOrder() { s_calls.clear(); }
    ~ComponentCallOrder() override {
        s_isAttached = [] { return false; };
    }
};

TEST_F(ComponentCallOrder, deserialize_setsOptionsThenReadsThenStoresThenAttaches) {
    s_isAttached = [this] { return !prefab.getGameObject(0)->components().empty(); };
    PrefabText document;
    document.root(id(1));
    document.component("WitnessComponent", 0, element("tag", "lit"), 0x22);
    prefab.deserialize(document.section(), nullptr);
    EXPECT_THAT(s_calls, ElementsAre("configuration: unread, options 34", "storePrefabProperties: lit, options 34"));
    EXPECT_TRUE(s_isAttached());
}

TEST_F(ComponentCallOrder, deserialize_itemsAreFinishedOneByOne) {
    PrefabText document;
    document.root(id(1));
    document.component("WitnessComponent", 0, element("tag", "a"))
        .component("WitnessComponent", 0, element("tag", "b"));
    prefab.deserialize(document.section(), nullptr);
    EXPECT_THAT(s_calls, ElementsAre("configuration: unread, options 35", "storePrefabProperties: a, options 35",
                                     "configuration: unread, options 35", "storePrefabProperties: b, options 35"));
}

TEST_F(ComponentCallOrder, serialize_viewsThenStoresEachComponentInNodeOrder) {
    for (const char* const tag : {"a", "b"}) {
        const SmartPointer<GameObjectDescriptor> node = makeNode(id(1));
        node->addComponent(makeSmart<WitnessDescriptor>(tag));
        prefab.addGameObject(node);
    }
    prefab.serialize(DataSection::create("prefab"));
    EXPECT_THAT(s_calls, ElementsAre("viewConfiguration: a, options 35", "storePrefabProperties: a, options 35",
                                     "viewConfiguration: b, options 35", "storePrefabProperties: b, options 35"));
}

TEST_F(ComponentCallOrder, serialize_leavesTheOptionsOfTheDescriptorUnmasked) {
    const SmartPointer<GameObjectDescriptor> node = makeNode(id(1));
    const SmartPointer<WitnessDescriptor> witness = makeSmart<WitnessDescriptor>("a");
    witness->setInstanceOptions(ComponentOptions(0x3FU));
    node->addComponent(witness);
    prefab.addGameObject(node);
    prefab.serialize(DataSection::create("prefab"));
    EXPECT_EQ(witness->getInstanceOptions().bits(), 0x3FU);
}

TEST_F(ComponentCallOrder, queries_leaveComponentsAlone) {
    const SmartPointer<GameObjectDescriptor> node = makeNode(id(1));
    node->addComponent(makeSmart<WitnessDescriptor>("a"));
    prefab.addGameObject(node);
    EXPECT_TRUE(prefab.isRootNode(0));
    EXPECT_EQ(prefab.parentNodeId(0), Tessel::GameObjectPrefab::INVALID_NODE_ID);
    EXPECT_EQ(prefab.countComponentsByType(NativeComponent<WitnessComponent>::getType()), 1U);
    EXPECT_EQ(prefab.findRootGameObject(), node);
    EXPECT_THAT(prefab.getNestedPrefabs(), IsEmpty());
    EXPECT_THAT(s_calls, IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
