#include "platform_access.h"
#include "test_components.h"

#include <core/log.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/game_object_descriptor.h>
#include <object_serialization/object_creation.h>
#include <object_serialization/override_records.h>

#include <gmock/gmock.h>

#include <bitset>
#include <string>
#include <unordered_map>
#include <vector>

namespace Conformance {
namespace {

using namespace Kiln;
using namespace Kiln::Tessel;

constexpr Uuid INSTANCE(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001);
constexpr Uuid ROOT(0x9d1c6c0a55d14c1e, 0x8a527f3e6b2d9f10);
constexpr Uuid CHILD(0x9d1c6c0a55d14c1e, 0x8a527f3e6b2d9f11);
constexpr Uuid INTEGRATION_POINT(0x9d1c6c0a55d14c1e, 0x8a527f3e6b2d9f12);

/// The nested roots of a test.
class Roots final : public INestedRoots {
public:
    [[nodiscard]] GameObject findNestedRoot(const Uuid& nestedInstanceUuid) override {
        asked.push_back(nestedInstanceUuid);
        const auto found = objects.find(nestedInstanceUuid);
        return found == objects.end() ? GameObject::INVALID_GAME_OBJECT : found->second;
    }

    std::unordered_map<Uuid, GameObject> objects;
    std::vector<Uuid> asked;
};

class Creations : public testing::Test {
protected:
    ~Creations() override { destroyWorld(worldId); }

    [[nodiscard]] World& world() const { return *EntryPoint::instance().findValidWorld(worldId); }
    [[nodiscard]] GameObjectManager& manager() const { return world().manager(); }

    /// A descriptor with a beacon whose values are stored.
    [[nodiscard]] SmartPointer<GameObjectDescriptor> describe(const Uuid& uuid, const Uuid& link = Uuid::ZERO) const {
        SmartPointer<GameObjectDescriptor> object = makeSmart<GameObjectDescriptor>();
        object->setUuid(uuid);
        object->setName("Object");
        const SmartPointer<IComponentDescriptor> beacon = makeDescriptor(Beacon::NAME);
        static_cast<BeaconDescriptor&>(*beacon).config().link.setUuid(link);
        static_cast<BeaconDescriptor&>(*beacon).config().mark.target.setUuid(link);
        beacon->storePrefabProperties();
        object->addComponent(beacon);
        return object;
    }

    /// Creates the object and its components as part of a creation.
    GameObject create(const GameObjectDescriptor& descriptor, const GameObjectOverrideRecords* overrides = nullptr) {
        const GameObject object = descriptor.createGameObject(worldId);
        ObjectCreation creation(world(), objects, INSTANCE, &roots);
        const Uuid uuid = Uuid::combine(INSTANCE, descriptor.uuid());
        objects.emplace(uuid, object);
        descriptor.createComponents(creation, object, uuid, overrides);
        descriptor.updateStateFlags(world(), object);
        return object;
    }

    [[nodiscard]] const Beacon::Config& beaconOf(GameObject object) const {
        return manager().findComponent<Beacon>(object)->config;
    }

    const int worldId = createWorld();
    UuidMap objects;
    Roots roots;
};

TEST_F(Creations, createGameObject_makesAnInactiveObjectWithoutComponents) {
    const GameObject object = describe(ROOT)->createGameObject(worldId);
    ASSERT_TRUE(isValid(object));
    EXPECT_EQ(object.getWorldId(), worldId);
    EXPECT_FALSE(manager().isActive(object));
    EXPECT_FALSE(manager().hasComponent(object, NativeComponent<Beacon>::getType()));
}

TEST_F(Creations, createGameObject_inAWorldThatIsKnown_doesTheSame) {
    const GameObject object = describe(ROOT)->createGameObject(world());
    ASSERT_TRUE(isValid(object));
    EXPECT_EQ(object.getWorldId(), worldId);
    EXPECT_FALSE(manager().isActive(object));
}

TEST_F(Creations, createGameObject_inNoWorld_isTheInvalidObject) {
    EXPECT_TRUE(describe(ROOT)->createGameObject(-1).isInvalid());
}

TEST_F(Creations, createComponents_givesTheObjectItsUuidNameAndComponents) {
    const GameObject object = create(*describe(ROOT));
    EXPECT_EQ(uuidOf(object), Uuid::combine(INSTANCE, ROOT));
    EXPECT_EQ(manager().getGameObjectName(object), "Object");
    EXPECT_TRUE(manager().hasComponent(object, NativeComponent<Beacon>::getType()));
}

TEST_F(Creations, createComponents_withoutACreation_doesTheSame) {
    const SmartPointer<GameObjectDescriptor> descriptor = describe(ROOT, CHILD);
    const GameObject object = descriptor->createGameObject(worldId);
    const GameObject child = createObject(worldId);
    descriptor->createComponents(object, INSTANCE, {{Uuid::combine(INSTANCE, CHILD), child}}, nullptr);
    descriptor->updateStateFlags(object);
    EXPECT_EQ(uuidOf(object), Uuid::combine(INSTANCE, ROOT));
    EXPECT_EQ(beaconOf(object).link.target(), child);
}

TEST_F(Creations, createComponents_ofADeadObject_doesNothing) {
    const SmartPointer<GameObjectDescriptor> descriptor = describe(ROOT);
    const GameObject dead = descriptor->createGameObject(worldId);
    manager().removeGameObject(dead);
    const LogCapture log;
    descriptor->createComponents(dead, INSTANCE, {}, nullptr);
    descriptor->updateStateFlags(dead);
    EXPECT_FALSE(manager().hasComponent(dead, NativeComponent<Beacon>::getType()));
}

TEST_F(Creations, overrides_reachTheComponentAndLeaveTheDocument) {
    const SmartPointer<OverrideRecords> records = OverrideRecords::create(
        "<overrides><gameObject><uuid>9d1c6c0a-55d1-4c1e-8a52-7f3e6b2d9f10</uuid><component><type>ConformanceBeacon"
        "</type><properties><text>overridden</text></properties></component></gameObject></overrides>");
    const SmartPointer<GameObjectDescriptor> descriptor = describe(ROOT);
    EXPECT_EQ(beaconOf(create(*descriptor, records->getRecord(ROOT))).text, "overridden");

    const auto& beacon = static_cast<const BeaconDescriptor&>(*descriptor->components()[0]);
    EXPECT_EQ(beacon.config().text, "unlit");
    EXPECT_EQ(beacon.prefabProperties().text, "unlit");
    EXPECT_EQ(beaconOf(create(*descriptor)).text, "unlit");
}

TEST_F(Creations, changesThatAreNotStored_areUsedOnceAndRestored) {
    const SmartPointer<GameObjectDescriptor> descriptor = describe(ROOT);
    static_cast<BeaconDescriptor&>(*descriptor->components()[0]).config().text = "changed";
    EXPECT_EQ(beaconOf(create(*descriptor)).text, "changed");
    EXPECT_EQ(beaconOf(create(*descriptor)).text, "unlit");
}

TEST_F(Creations, link_meansTheObjectOfTheInstanceAtAnyDepth) {
    const GameObject child = create(*describe(CHILD));
    const GameObject root = create(*describe(ROOT, CHILD));
    EXPECT_EQ(beaconOf(root).link.target(), child);
    EXPECT_EQ(beaconOf(root).mark.target.target(), child);
}

TEST_F(Creations, link_ofAnotherInstance_meansItsObject) {
    const Uuid other = Uuid::combine(INSTANCE, INTEGRATION_POINT);
    const SmartPointer<GameObjectDescriptor> descriptor = describe(ROOT, CHILD);
    const GameObject object = descriptor->createGameObject(worldId);
    objects = {{Uuid::combine(INSTANCE, CHILD), createObject(worldId)},
               {Uuid::combine(other, CHILD), createObject(worldId)}};
    ObjectCreation creation(world(), objects, INSTANCE, nullptr);
    EXPECT_EQ(creation.instanceUuid(), INSTANCE);
    creation.enterInstance(other);
    EXPECT_EQ(creation.instanceUuid(), other);
    descriptor->createComponents(creation, object, Uuid::combine(other, ROOT), nullptr);
    EXPECT_EQ(beaconOf(object).link.target(), objects.at(Uuid::combine(other, CHILD)));
}

TEST_F(Creations, liveLink_isLookedUpAsItIs) {
    const GameObject target = createObject(worldId);
    objects.emplace(CHILD, target);
    const SmartPointer<GameObjectDescriptor> descriptor = describe(ROOT, CHILD);
    static_cast<BeaconDescriptor&>(*descriptor->components()[0]).config().link.setLiveUuid(true);
    const LogCapture log; // The other link of the beacon is not a live one.
    EXPECT_EQ(beaconOf(create(*descriptor)).link.target(), target);
}

TEST_F(Creations, linkThatResolvesToNothing_isInvalidWithAWarning) {
    const LogCapture log;
    const GameObject root = create(*describe(ROOT, CHILD));
    EXPECT_TRUE(beaconOf(root).link.target().isInvalid());
    EXPECT_EQ(log.count(LogSeverity::WARNING), 2U);
    EXPECT_EQ(log.messages().size(), 2U);
}

TEST_F(Creations, zeroUuid_isNoLink) {
    const LogCapture log;
    const GameObject root = create(*describe(ROOT));
    EXPECT_TRUE(beaconOf(root).link.target().isInvalid());
    EXPECT_THAT(log.messages(), testing::IsEmpty());
    EXPECT_THAT(roots.asked, testing::IsEmpty());
}

/// The UUID of the instance that is nested at an integration point is what a link to the point combines to.
TEST_F(Creations, linkToAnIntegrationPoint_meansTheNestedRoot) {
    const GameObject nestedRoot = createObject(worldId);
    roots.objects.emplace(Uuid::combine(INSTANCE, INTEGRATION_POINT), nestedRoot);
    EXPECT_EQ(beaconOf(create(*describe(ROOT, INTEGRATION_POINT))).link.target(), nestedRoot);
}

TEST_F(Creations, objectOfTheMap_takesPrecedenceOverANestedRoot) {
    const GameObject object = createObject(worldId);
    objects.emplace(Uuid::combine(INSTANCE, INTEGRATION_POINT), object);
    roots.objects.emplace(Uuid::combine(INSTANCE, INTEGRATION_POINT), createObject(worldId));
    EXPECT_EQ(beaconOf(create(*describe(ROOT, INTEGRATION_POINT))).link.target(), object);
}

TEST_F(Creations, creationWithoutNestedRoots_leavesTheLinkInvalid) {
    const LogCapture log;
    const SmartPointer<GameObjectDescriptor> descriptor = describe(ROOT, INTEGRATION_POINT);
    const GameObject object = descriptor->createGameObject(worldId);
    ObjectCreation creation(world(), objects, INSTANCE, nullptr);
    descriptor->createComponents(creation, object, Uuid::combine(INSTANCE, ROOT), nullptr);
    EXPECT_TRUE(beaconOf(object).link.target().isInvalid());
    EXPECT_EQ(log.count(LogSeverity::WARNING), 2U);
}

TEST_F(Creations, hierarchyComponent_attachesToTheParentOfTheInstance) {
    const GameObject root = create(*describe(ROOT));
    const SmartPointer<GameObjectDescriptor> child = describe(CHILD);
    const SmartPointer<IComponentDescriptor> hierarchy = makeDescriptor("HierarchyComponent");
    static_cast<ComponentDescriptor<HierarchyComponent>&>(*hierarchy).config().parent.setUuid(ROOT);
    hierarchy->storePrefabProperties();
    child->addComponent(hierarchy);
    EXPECT_EQ(parentOf(create(*child)), root);
}

TEST_F(Creations, stateFlags_inactiveByDefault_isNotActivatedWithItsParent) {
    const SmartPointer<GameObjectDescriptor> inactive = describe(CHILD);
    inactive->setFlags(std::bitset<6>(0x01));
    const GameObject root = create(*describe(ROOT));
    const GameObject child = create(*inactive);
    addComponent<HierarchyComponent>(child, root);
    manager().activateGameObject(root);
    EXPECT_TRUE(manager().isActive(root));
    EXPECT_FALSE(manager().isActive(child));
    manager().activateGameObject(child);
    EXPECT_TRUE(manager().isActive(child));
}

} // namespace
} // namespace Conformance
