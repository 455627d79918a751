#include <tessel_asset_loading/support/virtual_slot.h>
#include <tessel_asset_loading/support/world_fixture.h>

#include <gmock/gmock.h>

#include <functional>
#include <sstream>
#include <type_traits>

namespace Kiln::TestSupport {
namespace {

using Tessel::ComponentStorage;
using Tessel::PrefabComponent;
using ::testing::HasSubstr;

TEST(PrefabComponent, constructor_copiesStringsOfConfig) {
    const PrefabComponent component({"props/lamp.prefab", "<overrides/>", false});

    EXPECT_EQ(component.resource(), "props/lamp.prefab");
    EXPECT_EQ(component.overridesData(), "<overrides/>");
}

TEST(PrefabComponent, hasOverrides_withoutDataAndFlag_isFalse) {
    EXPECT_FALSE(PrefabComponent({"lamp.prefab", "", false}).hasOverrides());
}

TEST(PrefabComponent, hasOverrides_flagAlone_isTrue) {
    EXPECT_TRUE(PrefabComponent({"lamp.prefab", "", true}).hasOverrides());
}

TEST(PrefabComponent, hasOverrides_anyDataAlone_isTrue) {
    EXPECT_TRUE(PrefabComponent({"lamp.prefab", " ", false}).hasOverrides());
}

TEST(PrefabComponent, hasOverrides_dataAndFlag_isTrue) {
    EXPECT_TRUE(PrefabComponent({"lamp.prefab", "<overrides/>", true}).hasOverrides());
}

TEST(PrefabComponent, instanceUuid_ofFreshComponent_isZero) {
    EXPECT_EQ(PrefabComponent(PrefabComponent::Config()).instanceUuid(), Uuid::ZERO);
}

TEST(PrefabComponent, setInstanceUuid_isKept) {
    PrefabComponent component({"lamp.prefab", "", false});

    component.setInstanceUuid(id(5));

    EXPECT_EQ(component.instanceUuid(), id(5));
    EXPECT_EQ(component.resource(), "lamp.prefab");
}

TEST(PrefabComponent, config_byDefault_isEmpty) {
    const PrefabComponent::Config config;

    EXPECT_EQ(config.resource, "");
    EXPECT_EQ(config.overridesData, "");
    EXPECT_FALSE(config.hasOverrides);
}

TEST(PrefabComponent, type_isTheRegisteredId) {
    const PrefabComponent component{PrefabComponent::Config()};

    EXPECT_EQ(component.type(), Tessel::NativeComponent<PrefabComponent>::getType());
    EXPECT_EQ(component.type(), Tessel::IComponent::types().registerType(typeid(PrefabComponent)));
    EXPECT_LT(component.type(), Tessel::IComponent::MAX_TYPES);
}

TEST(PrefabComponent, blockLink_outsideOfPool_isNullAndActivationHasNoEffect) {
    PrefabComponent component{PrefabComponent::Config()};

    component.activate();
    component.deactivate();

    EXPECT_EQ(component.block(), nullptr);
}

TEST(PrefabComponent, bases_areThoseOfAPooledComponent) {
    EXPECT_TRUE((std::is_base_of_v<Tessel::PoolableComponent<PrefabComponent, Tessel::IComponent>, PrefabComponent>));
    EXPECT_TRUE((std::is_base_of_v<Tessel::IComponent, PrefabComponent>));
    EXPECT_TRUE((std::is_base_of_v<Tessel::NativeComponent<PrefabComponent>, PrefabComponent>));
    EXPECT_TRUE((std::is_base_of_v<Tessel::BlockAllocable<PrefabComponent>, PrefabComponent>));
}

TEST(PrefabComponent, virtualOperations_areTypeDestructorActivateDeactivate) {
    EXPECT_EQ(virtualSlot(&Tessel::IComponent::type), 0U);
    EXPECT_EQ(virtualSlot(&Tessel::IComponent::activate), 3U); // After the two entries of the destructor.
    EXPECT_EQ(virtualSlot(&Tessel::IComponent::deactivate), 4U);
}

TEST(PrefabComponent, fields_lieInOrderBehindTheBlockLink) {
    const PrefabComponent component{PrefabComponent::Config()};
    const std::less<const void*> isBefore;

    EXPECT_TRUE(
        isBefore(static_cast<const Tessel::BlockAllocable<PrefabComponent>*>(&component), &component.resource()));
    EXPECT_TRUE(isBefore(&component.resource(), &component.overridesData()));
    EXPECT_TRUE(isBefore(&component.overridesData(), &component.instanceUuid()));
}

TEST(PrefabComponent, pool_setsBlockLink) {
    ComponentStorage<PrefabComponent> storage;

    const auto component = storage.create(PrefabComponent::Config{"lamp.prefab", "", false});

    EXPECT_NE(component->block(), nullptr);
    EXPECT_EQ(component->resource(), "lamp.prefab");
    EXPECT_EQ(storage.componentsCount(), 1U);
    EXPECT_EQ(storage.activeCount(), 0U);
}

TEST(PrefabComponent, activateAndDeactivate_goThroughThePool) {
    ComponentStorage<PrefabComponent> storage;
    const auto component = storage.create(PrefabComponent::Config());

    component->activate();
    component->activate();
    EXPECT_EQ(storage.activeCount(), 1U);
    component->deactivate();
    component->deactivate();

    EXPECT_EQ(storage.activeCount(), 0U);
    EXPECT_EQ(storage.componentsCount(), 1U);
}

TEST(PrefabComponent, dump_showsTheComponent) {
    ComponentStorage<PrefabComponent> storage(2);
    const auto component = storage.create(PrefabComponent::Config());
    component->activate();

    std::ostringstream dump;
    storage.dump(dump);

    EXPECT_THAT(dump.str(), HasSubstr("0| ACTIVE           | NO| NO"));
}

class LivePrefabComponent : public WorldFixture {};

TEST_F(LivePrefabComponent, component_isActiveWithItsObject) {
    const Tessel::GameObject object = manager().createGameObject();
    auto& storage = world().getStorage<PrefabComponent>();
    const Tessel::ComponentTypeId type = Tessel::NativeComponent<PrefabComponent>::getType();
    manager().addComponent(object, storage.create(PrefabComponent::Config()), type);
    EXPECT_EQ(storage.activeCount(), 0U);

    manager().activateGameObject(object);
    EXPECT_EQ(storage.activeCount(), 1U);
    manager().deactivateGameObject(object);
    EXPECT_EQ(storage.activeCount(), 0U);
    manager().removeGameObject(object);

    EXPECT_EQ(storage.componentsCount(), 0U);
}

} // namespace
} // namespace Kiln::TestSupport
