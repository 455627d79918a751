#include <tessel_asset_loading/support/world_fixture.h>

#include <object_serialization/prefab_format.h>
#include <tessel_asset_loading/prefab_post_load_manager.h>

#include <gmock/gmock.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::EntryPoint;
using Tessel::PrefabComponent;
using Tessel::PrefabPostLoadManager;

/// What the module has registered when it is loaded.
class Registration : public WorldFixture {
protected:
    [[nodiscard]] static const ComponentRecord& record() {
        const ComponentLibrary& library = ComponentLibrary::instance();
        return library.componentMeta(library.findComponent("PrefabComponent"));
    }
};

TEST_F(Registration, record_isFoundByNameAndType) {
    const ComponentLibrary& library = ComponentLibrary::instance();
    const std::size_t componentId = Tessel::NativeComponent<PrefabComponent>::getType();

    EXPECT_EQ(library.findComponent("PrefabComponent"), componentId);
    EXPECT_EQ(library.findComponent(typeid(PrefabComponent)), componentId);
    EXPECT_EQ(library.componentName(componentId), "PrefabComponent");
    EXPECT_EQ(library.findComponent("Prefab"), ComponentLibrary::INVALID_ID);
}

TEST_F(Registration, record_hasItsFields) {
    EXPECT_EQ(record().typeId, Tessel::NativeComponent<PrefabComponent>::getType());
    EXPECT_EQ(record().type, typeid(PrefabComponent));
    EXPECT_EQ(record().displayName, "Prefab");
    EXPECT_EQ(record().name, "PrefabComponent");
    EXPECT_EQ(record().category, IComponentDescriptor::DEFAULT_CATEGORY);
    EXPECT_EQ(record().options.bits(), 35U);
    EXPECT_FALSE(record().isUserAddable);
    EXPECT_TRUE(record().isStorable);
    EXPECT_EQ(record().version, Tessel::PrefabFormat::DEFAULT_COMPONENT_VERSION);
    EXPECT_EQ(record().extraData, nullptr);
}

TEST_F(Registration, factory_makesADescriptorEachTime) {
    const SmartPointer<IComponentDescriptor> first = record().factory();
    const SmartPointer<IComponentDescriptor> second = record().factory();

    ASSERT_NE(dynamic_cast<ComponentDescriptor<PrefabComponent>*>(first.get()), nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(first->refCount(), 1U);
    EXPECT_EQ(first->name(), "PrefabComponent");
}

TEST_F(Registration, metaObjectOfConfig_hasItsProperties) {
    const mirra::BaseStaticMetaObject* const metaObject =
        mirra::MetaObjectManager::instance().findType("Kiln::Tessel::PrefabComponent::Config");

    ASSERT_NE(metaObject, nullptr);
    EXPECT_EQ(metaObject, mirra::MetaObjectManager::instance().findType(typeid(PrefabComponent::Config)));
    ASSERT_EQ(metaObject->properties().size(), 2U);
    EXPECT_EQ(metaObject->properties()[0].name, "resource");
    EXPECT_TRUE(metaObject->properties()[0].annotations.has(mirra::Meta::View::Path));
    EXPECT_EQ(metaObject->properties()[1].name, "overridesData");
    EXPECT_TRUE(metaObject->properties()[1].annotations.isEmpty());
}

TEST_F(Registration, metaObjectOfConfig_reachesTheMembers) {
    PrefabComponent::Config config{"lamp.prefab", "data", false};
    mirra::ReflectedObject reflected;
    reflected.init(*mirra::MetaObjectManager::instance().findType(typeid(PrefabComponent::Config)), &config);

    EXPECT_EQ(reflected.propertyAt(0).get().get<std::string>(), &config.resource);
    EXPECT_EQ(reflected.propertyAt(1).get().get<std::string>(), &config.overridesData);
}

TEST_F(Registration, metaObjectOfComponent_hasItsProperties) {
    const mirra::BaseStaticMetaObject* const metaObject =
        mirra::MetaObjectManager::instance().findType("Kiln::Tessel::PrefabComponent");

    ASSERT_NE(metaObject, nullptr);
    EXPECT_EQ(metaObject, mirra::MetaObjectManager::instance().findType(typeid(PrefabComponent)));
    ASSERT_EQ(metaObject->properties().size(), 2U);
    EXPECT_EQ(metaObject->properties()[0].name, "resource");
    EXPECT_TRUE(metaObject->properties()[0].annotations.isEmpty());
    EXPECT_EQ(metaObject->properties()[1].name, "overridesData");
    EXPECT_TRUE(metaObject->properties()[1].annotations.isEmpty());
}

TEST_F(Registration, metaObjectOfComponent_reachesTheFields) {
    PrefabComponent component({"lamp.prefab", "data", false});
    mirra::ReflectedObject reflected;
    reflected.init(*mirra::MetaObjectManager::instance().findType(typeid(PrefabComponent)), &component);

    EXPECT_EQ(reflected.propertyAt(0).get().get<std::string>(), &component.resource());
    EXPECT_EQ(reflected.propertyAt(1).get().get<std::string>(), &component.overridesData());
}

TEST_F(Registration, propertyNames_areConstantsOfTheProcess) {
    EXPECT_EQ(PrefabComponent::RESOURCE_PROPERTY, "resource");
    EXPECT_EQ(PrefabComponent::OVERRIDES_DATA_PROPERTY, "overridesData");
}

TEST_F(Registration, service_isRegisteredUnderItsType) {
    Tessel::IService* const found = EntryPoint::instance().getService(typeid(Tessel::PrefabService));

    EXPECT_NE(dynamic_cast<Tessel::PrefabService*>(found), nullptr);
}

TEST_F(Registration, secondService_isRefusedAndDestroyed) {
    Tessel::IService* const found = EntryPoint::instance().getService(typeid(Tessel::PrefabService));

    const SmartPointer<GameObjectDescriptor> node = makeNode(id(1));
    auto second = std::make_unique<Tessel::PrefabService>();
    second->cachePrefabData("lamp.prefab", PrefabBuilder().node(node).buildUnique());
    EXPECT_GT(node->refCount(), 1U);

    EntryPoint::instance().registerService(typeid(Tessel::PrefabService), std::move(second));

    EXPECT_EQ(EntryPoint::instance().getService(typeid(Tessel::PrefabService)), found);
    EXPECT_EQ(node->refCount(), 1U);
}

TEST_F(Registration, postLoadManager_isRegisteredOnceWithAllRoles) {
    std::vector<unsigned> options;
    for (int managerId = 0; const auto* const kind = EntryPoint::instance().findReactiveManagerRecord(managerId);
         ++managerId) {
        const std::unique_ptr<Tessel::IReactiveManager> made = kind->factory(nullptr);
        if (dynamic_cast<PrefabPostLoadManager*>(made.get())) {
            options.push_back(kind->options.bits());
        }
    }

    EXPECT_EQ(options, std::vector<unsigned>{35});
}

TEST_F(Registration, prefabComponentFunction_hasNoEffect) {
    const std::size_t typesCount = Tessel::IComponent::types().typesCount();
    const std::size_t componentsCount = ComponentLibrary::instance().componentsCount();

    prefab_component();

    EXPECT_EQ(Tessel::IComponent::types().typesCount(), typesCount);
    EXPECT_EQ(ComponentLibrary::instance().componentsCount(), componentsCount);
    EXPECT_TRUE(logged().empty());
}

} // namespace
} // namespace Kiln::TestSupport
