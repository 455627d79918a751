#include <tessel_asset_loading/support/virtual_slot.h>
#include <tessel_asset_loading/support/world_fixture.h>

#include <variant/variant_converter.h>

#include <gmock/gmock.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::PrefabComponent;
using ::testing::IsEmpty;
using Descriptor = ComponentDescriptor<PrefabComponent>;

/// ComponentDescriptor<PrefabComponent>, as the component library makes it.
class PrefabDescriptor : public WorldFixture {
protected:
    [[nodiscard]] static SmartPointer<Descriptor> make() {
        const ComponentLibrary& library = ComponentLibrary::instance();
        return staticPointerCast<Descriptor>(library.createDescriptor(library.findComponent("PrefabComponent")));
    }

    static constexpr int DEAD_WORLD = 1'000'000;

    SmartPointer<Descriptor> descriptor = make();
    GameObject object = manager().createGameObject();
};

TEST_F(PrefabDescriptor, config_byDefault_isEmpty) {
    EXPECT_EQ(descriptor->config().resource, "");
    EXPECT_EQ(descriptor->config().overridesData, "");
    EXPECT_FALSE(descriptor->config().hasOverrides);
}

TEST_F(PrefabDescriptor, texts_areNameLibraryPathAndCategory) {
    EXPECT_EQ(descriptor->name(), "PrefabComponent");
    EXPECT_EQ(descriptor->libraryPath(), "components/PrefabComponent");
    EXPECT_EQ(descriptor->category(), IComponentDescriptor::DEFAULT_CATEGORY);
}

TEST_F(PrefabDescriptor, libraryPath_followsTheGivenName) {
    const Descriptor other("Other", "third");

    EXPECT_EQ(other.name(), "Other");
    EXPECT_EQ(other.libraryPath(), "components/Other");
    EXPECT_EQ(other.category(), "third");
}

TEST_F(PrefabDescriptor, type_isThatOfTheComponent) {
    EXPECT_EQ(descriptor->type(), Tessel::NativeComponent<PrefabComponent>::getType());
}

TEST_F(PrefabDescriptor, reflect_viewsConfigOfTheDescriptor) {
    descriptor->config().resource = "lamp.prefab";

    const vessa::Variant variant = descriptor->reflect();

    const auto* const reflected = vessa::VariantConverter::convertTo<mirra::ReflectedObject>(variant);
    ASSERT_NE(reflected, nullptr);
    EXPECT_EQ(reflected->object(), &descriptor->config());
    ASSERT_NE(reflected->metaObject(), nullptr);
    EXPECT_EQ(reflected->metaObject()->type(), typeid(PrefabComponent::Config));
    ASSERT_EQ(reflected->properties(), 2U);
    EXPECT_EQ(*reflected->propertyAt(0).get().get<std::string>(), "lamp.prefab");
}

TEST_F(PrefabDescriptor, metaType_isThatOfTheComponent) {
    EXPECT_EQ(descriptor->metaType(), mirra::MetaObjectManager::instance().findType(typeid(PrefabComponent)));
    ASSERT_NE(descriptor->metaType(), nullptr);
    EXPECT_EQ(descriptor->metaType()->name(), "Kiln::Tessel::PrefabComponent");
}

TEST_F(PrefabDescriptor, createOnObject_addsComponentMadeFromConfig) {
    descriptor->config() = {"lamp.prefab", "<overrides/>", false};

    Tessel::IComponent* const created = descriptor->createOnObject(object);

    const auto* const component = find<PrefabComponent>(object);
    EXPECT_EQ(created, component);
    ASSERT_NE(component, nullptr);
    EXPECT_EQ(component->resource(), "lamp.prefab");
    EXPECT_TRUE(component->hasOverrides());
}

TEST_F(PrefabDescriptor, createOnObject_withoutManager_isNull) {
    EXPECT_EQ(descriptor->createOnObject(GameObject(DEAD_WORLD, 0, 0)), nullptr);
    EXPECT_EQ(descriptor->createOnObject(GameObject::INVALID_GAME_OBJECT), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabDescriptor, createOnObject_deadObject_isNullAndLeaksNothing) {
    manager().removeGameObject(object);

    EXPECT_EQ(descriptor->createOnObject(object), nullptr);
    EXPECT_EQ(world().getStorage<PrefabComponent>().componentsCount(), 0U);
}

TEST_F(PrefabDescriptor, removeFromObject_removesComponent) {
    descriptor->createOnObject(object);

    descriptor->removeFromObject(object);

    EXPECT_EQ(find<PrefabComponent>(object), nullptr);
    EXPECT_EQ(world().getStorage<PrefabComponent>().componentsCount(), 0U);
}

TEST_F(PrefabDescriptor, removeFromObject_withoutComponent_doesNothing) {
    descriptor->removeFromObject(object);
    descriptor->removeFromObject(GameObject::INVALID_GAME_OBJECT);
    descriptor->removeFromObject(GameObject(DEAD_WORLD, 0, 0));

    EXPECT_TRUE(manager().isGameObjectValid(object));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabDescriptor, reapplyOnObject_replacesComponentByNewOne) {
    descriptor->config().resource = "old.prefab";
    descriptor->createOnObject(object);
    manager().findComponent<PrefabComponent>(object)->setInstanceUuid(id(9));
    descriptor->config().resource = "new.prefab";

    Tessel::IComponent* const applied = descriptor->reapplyOnObject(object, id(1), {});

    const auto* const component = find<PrefabComponent>(object);
    EXPECT_EQ(applied, component);
    ASSERT_NE(component, nullptr);
    EXPECT_EQ(component->resource(), "new.prefab");
    EXPECT_EQ(component->instanceUuid(), Uuid::ZERO);
    EXPECT_EQ(world().getStorage<PrefabComponent>().componentsCount(), 1U);
}

TEST_F(PrefabDescriptor, reapplyOnObject_withoutComponent_addsOne) {
    EXPECT_NE(descriptor->reapplyOnObject(object, id(1), {}), nullptr);
    EXPECT_NE(find<PrefabComponent>(object), nullptr);
}

TEST_F(PrefabDescriptor, reapplyOnObject_deadObjectOrWorld_isNull) {
    manager().removeGameObject(object);

    EXPECT_EQ(descriptor->reapplyOnObject(object, id(1), {}), nullptr);
    EXPECT_EQ(descriptor->reapplyOnObject(GameObject(DEAD_WORLD, 0, 0), id(1), {}), nullptr);
    EXPECT_EQ(descriptor->reapplyOnObject(GameObject::INVALID_GAME_OBJECT, id(1), {}), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabDescriptor, findPrefabDescriptor_findsItAmongComponents) {
    const SmartPointer<GameObjectDescriptor> node = makeNode(id(1));
    EXPECT_EQ(Tessel::findPrefabDescriptor(*node), nullptr);
    addComponent<TagComponent>(*node);

    ComponentDescriptor<PrefabComponent>& added = addComponent<PrefabComponent>(*node, {"lamp.prefab", "", false});

    EXPECT_EQ(Tessel::findPrefabDescriptor(*node), &added);
}

TEST_F(PrefabDescriptor, sharedConfig_isOwnedOrJustReferredTo) {
    auto config = std::make_shared<PrefabComponent::Config>();
    const std::weak_ptr<PrefabComponent::Config> observed = config;
    PrefabComponent::Config elsewhere{"lamp.prefab", "", false};
    {
        const auto owned = vessa::Variant::share(std::move(config));
        const auto copy = owned;
        const auto referred = vessa::Variant::refer(&elsewhere);

        EXPECT_EQ(owned.get<PrefabComponent::Config>(), observed.lock().get());
        EXPECT_EQ(copy.get<PrefabComponent::Config>(), observed.lock().get());
        EXPECT_EQ(referred.get<PrefabComponent::Config>(), &elsewhere);
    }

    EXPECT_TRUE(observed.expired());
    EXPECT_EQ(elsewhere.resource, "lamp.prefab");
}

TEST_F(PrefabDescriptor, reapplyOnObject_deadObject_resolvesNoLinks) {
    const SmartPointer<GameObjectDescriptor> node = makeNode(id(1));
    LinksComponent::Config config;
    config.target.setUuid(id(7));
    auto& links = addComponent<LinksComponent>(*node, config);
    const GameObject target = manager().createGameObject();
    const UuidMap objects{{Uuid::combine(id(1), id(7)), target}};
    manager().removeGameObject(object);

    EXPECT_EQ(links.reapplyOnObject(object, id(1), objects), nullptr);
    EXPECT_EQ(links.reapplyOnObject(object, id(1), {}), nullptr);

    EXPECT_NE(std::as_const(links).config().target.target(), target);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabDescriptor, virtualOperations_followTheOrderOfTheInterface) {
    const std::size_t first = virtualSlot(&IComponentDescriptor::name);

    EXPECT_GE(first, 2U); // After the two entries of the destructor.
    EXPECT_EQ(virtualSlot(&IComponentDescriptor::libraryPath), first + 1);
    EXPECT_EQ(virtualSlot(&IComponentDescriptor::category), first + 2);
    EXPECT_EQ(virtualSlot(&IComponentDescriptor::removeFromObject), first + 3);
    EXPECT_EQ(virtualSlot(&IComponentDescriptor::reflect), first + 4);
    EXPECT_EQ(virtualSlot(&IComponentDescriptor::metaType), first + 5);
    EXPECT_EQ(virtualSlot(&IComponentDescriptor::preload), first + 6);
    EXPECT_EQ(virtualSlot(&IComponentDescriptor::createOnObject), first + 7);
    EXPECT_EQ(virtualSlot(&IComponentDescriptor::reapplyOnObject), first + 8);
}

} // namespace
} // namespace Kiln::TestSupport
