#include "live_fixture.h"

#include <object_serialization/override_records.h>

namespace Kiln::SerializationTests {
namespace {

using Tessel::GameObject;
using testing::ElementsAre;
using testing::IsEmpty;

/// Counts its constructions.
class CountingComponent final : public KeepingComponent<CountingComponent, UnknownConfig> {
public:
    explicit CountingComponent(const Config& configuration) : KeepingComponent(configuration) { ++createdCount; }

    static inline int createdCount = 0;
};

/// The effects of a descriptor on live objects.
class OnObject : public LiveFixture {
protected:
    OnObject() {
        descriptor->config().text = "own";
        descriptor->storePrefabProperties();
    }

    [[nodiscard]] TextComponent* find(GameObject object) const {
        return manager().findComponent<TextComponent>(object);
    }

    /// Handles of an object that has been removed, and of one whose world has been destroyed.
    [[nodiscard]] GameObject createDead() const {
        const GameObject object = create();
        manager().removeGameObject(object);
        return object;
    }
    [[nodiscard]] static GameObject createWithoutWorld() {
        const int id = Tessel::EntryPoint::instance().createWorld();
        const GameObject object = Tessel::getGameObjectManager(id)->createGameObject();
        Tessel::EntryPoint::instance().destroyWorld(id);
        return object;
    }

    const SmartPointer<ComponentDescriptor<TextComponent>> descriptor = makeDescriptor<TextComponent>();
};

TEST_F(OnObject, createOnObject_makesAComponentFromTheConfiguration) {
    const GameObject object = create();
    Tessel::IComponent* const component = descriptor->createOnObject(object);
    ASSERT_NE(component, nullptr);
    EXPECT_EQ(component, find(object));
    EXPECT_EQ(find(object)->config.text, "own");
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(OnObject, createOnObject_changedConfiguration_isUsedAndStays) {
    const GameObject object = create();
    descriptor->config().text = "changed";
    descriptor->createOnObject(object);
    EXPECT_EQ(find(object)->config.text, "changed");
    EXPECT_TRUE(descriptor->isOffPrefabProperties());
}

TEST_F(OnObject, createOnObject_destroyedWorld_isNull) {
    EXPECT_EQ(descriptor->createOnObject(createWithoutWorld()), nullptr);
    EXPECT_EQ(descriptor->createOnObject(GameObject::INVALID_GAME_OBJECT), nullptr);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(OnObject, createOnObject_deadObject_isNullAndReported) {
    EXPECT_EQ(descriptor->createOnObject(createDead()), nullptr);
    EXPECT_THAT(log.errors(), ElementsAre("A component can't be added: its game object is not alive"));
}

TEST_F(OnObject, createOnObject_objectThatTakesNone_createsNoComponent) {
    const GameObject object = create();
    const auto counting = makeSmart<ComponentDescriptor<CountingComponent>>("Counting", "");
    ASSERT_NE(counting->createOnObject(object), nullptr);
    const int created = CountingComponent::createdCount;

    EXPECT_EQ(counting->createOnObject(object), nullptr);
    EXPECT_EQ(counting->createOnObject(createDead()), nullptr);

    EXPECT_EQ(CountingComponent::createdCount, created);
}

TEST_F(OnObject, createOnObject_objectThatHasOne_isNullAndReported) {
    const GameObject object = create("lamp");
    Tessel::IComponent* const first = descriptor->createOnObject(object);
    EXPECT_EQ(descriptor->createOnObject(object), nullptr);
    EXPECT_EQ(find(object), first);
    EXPECT_THAT(log.errors(), ElementsAre("Game object 'lamp' has a component of that type already"));
}

TEST_F(OnObject, removeFromObject_removesIt) {
    const GameObject object = create();
    descriptor->createOnObject(object);
    descriptor->removeFromObject(object);
    EXPECT_EQ(find(object), nullptr);
    EXPECT_EQ(world().getStorage<TextComponent>().componentsCount(), 0U);
}

TEST_F(OnObject, removeFromObject_nothingToRemove_doesNothing) {
    descriptor->removeFromObject(create());
    descriptor->removeFromObject(createDead());
    descriptor->removeFromObject(createWithoutWorld());
    descriptor->removeFromObject(GameObject::INVALID_GAME_OBJECT);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(OnObject, reapplyOnObject_replacesTheComponent) {
    const GameObject object = create();
    descriptor->createOnObject(object);
    descriptor->config().text = "changed";
    Tessel::IComponent* const component = descriptor->reapplyOnObject(object, {}, {});
    EXPECT_EQ(component, find(object));
    EXPECT_EQ(find(object)->config.text, "changed");
    EXPECT_EQ(world().getStorage<TextComponent>().componentsCount(), 1U);
}

TEST_F(OnObject, reapplyOnObject_objectWithoutTheComponent_addsIt) {
    const GameObject object = create();
    EXPECT_NE(descriptor->reapplyOnObject(object, {}, {}), nullptr);
    EXPECT_EQ(find(object)->config.text, "own");
}

TEST_F(OnObject, reapplyOnObject_activeObject_activatesTheNewOne) {
    const GameObject object = create();
    descriptor->createOnObject(object);
    manager().activateGameObject(object);
    EXPECT_EQ(world().getStorage<TextComponent>().activeCount(), 1U);
    descriptor->reapplyOnObject(object, {}, {});
    EXPECT_EQ(world().getStorage<TextComponent>().activeCount(), 1U);
}

TEST_F(OnObject, reapplyOnObject_removedObjectOrDestroyedWorld_isNullAndSilent) {
    EXPECT_EQ(descriptor->reapplyOnObject(createDead(), {}, {}), nullptr);
    EXPECT_EQ(descriptor->reapplyOnObject(createWithoutWorld(), {}, {}), nullptr);
    EXPECT_EQ(descriptor->reapplyOnObject(GameObject::INVALID_GAME_OBJECT, {}, {}), nullptr);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(OnObject, reapplyOnObject_resolvesLinksAgain) {
    const Uuid instance(1, 1);
    const Uuid target(0, 5);
    const GameObject first = create();
    const GameObject second = create();
    const GameObject object = create();
    const auto links = makeDescriptor<LinksComponent>();
    links->config().link.setUuid(target);
    links->reapplyOnObject(object, instance, {{Uuid::combine(instance, target), first}});
    EXPECT_EQ(manager().findComponent<LinksComponent>(object)->config.link.target(), first);
    links->reapplyOnObject(object, instance, {{Uuid::combine(instance, target), second}});
    EXPECT_EQ(manager().findComponent<LinksComponent>(object)->config.link.target(), second);
}

TEST_F(OnObject, reapplyOnObject_hierarchy_movesTheObject) {
    const Uuid instance(1, 1);
    const GameObject first = create();
    const GameObject second = create();
    const GameObject object = create();
    const auto hierarchy = makeDescriptor<Tessel::HierarchyComponent>();
    hierarchy->config().parent.setUuid({0, 1});
    const UuidMap objects{{Uuid::combine(instance, {0, 1}), first}, {Uuid::combine(instance, {0, 2}), second}};
    hierarchy->reapplyOnObject(object, instance, objects);
    EXPECT_EQ(manager().getParent(object), first);
    hierarchy->config().parent.setUuid({0, 2});
    hierarchy->reapplyOnObject(object, instance, objects);
    EXPECT_EQ(manager().getParent(object), second);
}

} // namespace
} // namespace Kiln::SerializationTests
