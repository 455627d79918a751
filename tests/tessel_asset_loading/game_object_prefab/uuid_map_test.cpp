#include <tessel_asset_loading/support/creation_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A component that reports its destruction.
class FarewellComponent final : public Tessel::PoolableComponent<FarewellComponent, Tessel::IComponent> {
public:
    explicit FarewellComponent(std::string of) : m_of(std::move(of)) {}
    ~FarewellComponent() override { farewells.push_back(m_of); }

    static inline std::vector<std::string> farewells;

private:
    std::string m_of;
};

class UuidMapOfCreation : public CreationFixture {
protected:
    UuidMapOfCreation() { builder.root(id(1), "Root").child(id(2), "First", id(1)).child(id(3), "Second", id(2)); }

    [[nodiscard]] static Uuid live(const Uuid& uuid) { return Uuid::combine(INSTANCE, uuid); }

    /// An object in the map that reports its removal.
    GameObject addExisting(const Uuid& uuid, const std::string& name) {
        const GameObject existing = manager().createGameObject();
        manager().addComponent(existing, world().getStorage<FarewellComponent>().create(name),
                               Tessel::NativeComponent<FarewellComponent>::getType());
        config.uuidMap[live(uuid)] = existing;
        return existing;
    }

    PrefabBuilder builder; // A root with a chain of two below it.
};

TEST_F(UuidMapOfCreation, afterSuccess_holdsEveryCreatedObject) {
    const std::vector<GameObject> created = create(builder);
    EXPECT_EQ(config.uuidMap, (std::unordered_map<Uuid, GameObject>{
                                  {live(id(1)), created[0]}, {live(id(2)), created[1]}, {live(id(3)), created[2]}}));
}

TEST_F(UuidMapOfCreation, afterSuccess_holdsObjectsOfNestedPrefabsToo) {
    PrefabBuilder inner;
    inner.root(id(1), "Inner").child(id(2), "Inner child", id(1));
    cachePrefab("inner.prefab", inner);
    builder.nested(id(4), "Nested", id(1), "inner.prefab");
    const std::vector<GameObject> created = create(builder);
    const Uuid nested = Uuid::combine(INSTANCE, id(4));
    ASSERT_EQ(config.uuidMap.size(), 5U);
    EXPECT_EQ(config.uuidMap.at(Uuid::combine(nested, id(1))), created[3]);
    EXPECT_EQ(config.uuidMap.at(Uuid::combine(nested, id(2))), created[4]);
}

TEST_F(UuidMapOfCreation, earlierEntries_stay) {
    const GameObject other = manager().createGameObject();
    config.uuidMap[id(1)] = other;
    create(builder);
    EXPECT_EQ(config.uuidMap.size(), 4U);
    EXPECT_EQ(config.uuidMap.at(id(1)), other);
}

TEST_F(UuidMapOfCreation, secondInstance_isAddedToTheSameMap) {
    create(builder);
    const std::unordered_map<Uuid, GameObject> first = config.uuidMap;
    config.instanceUuid = id(77);
    create(builder);
    EXPECT_EQ(config.uuidMap.size(), 6U);
    for (const auto& [uuid, created] : first) {
        EXPECT_EQ(config.uuidMap.at(uuid), created);
    }
}

// Reuse.

TEST_F(UuidMapOfCreation, objectUnderTheUuid_isReused) {
    const GameObject existing = manager().createGameObject();
    config.uuidMap[live(id(2))] = existing;
    const std::vector<GameObject> created = create(builder);
    ASSERT_EQ(created.size(), 3U);
    EXPECT_EQ(created[1], existing);
    EXPECT_EQ(manager().gameObjectsCount(), 3U);
    EXPECT_EQ(config.uuidMap.at(live(id(2))), existing);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(UuidMapOfCreation, reusedObject_getsItsComponentsAndPlace) {
    config.uuidMap[live(id(2))] = manager().createGameObject();
    create(builder);
    EXPECT_EQ(parentOf("First"), "Root");
    EXPECT_EQ(parentOf("Second"), "First");
}

TEST_F(UuidMapOfCreation, reusedRoot_isTheFirstOfTheResult) {
    const GameObject existing = manager().createGameObject();
    config.uuidMap[live(id(1))] = existing;
    EXPECT_EQ(create(builder).front(), existing);
}

TEST_F(UuidMapOfCreation, reusedRootOfANestedPrefab_isFoundByItsChildren) {
    PrefabBuilder inner;
    inner.root(id(1), "Inner").child(id(2), "Inner child", id(1));
    cachePrefab("inner.prefab", inner);
    builder.nested(id(4), "Nested", id(1), "inner.prefab");
    const GameObject existing = manager().createGameObject();
    config.uuidMap[Uuid::combine(Uuid::combine(INSTANCE, id(4)), id(1))] = existing;
    EXPECT_EQ(create(builder)[3], existing);
    EXPECT_EQ(parentOf("Inner child"), "Nested");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(UuidMapOfCreation, reusedObject_staysAsActiveAsItWas) {
    const GameObject active = addExisting(id(1), "root");
    manager().activateGameObject(active);
    const GameObject inactive = addExisting(id(2), "first");
    create(builder);
    EXPECT_TRUE(manager().isActive(active));
    EXPECT_FALSE(manager().isActive(inactive));
}

TEST_F(UuidMapOfCreation, reusedRootOfANestedPrefab_isFoundByItsCombinedUuid) {
    cachePrefab("inner.prefab", PrefabBuilder().root(id(7), "Inner"));
    builder.child(id(5), "Guest", Uuid::combine(id(4), id(7))).nested(id(4), "Nested", id(1), "inner.prefab");
    config.uuidMap[Uuid::combine(live(id(4)), id(7))] = manager().createGameObject();
    create(builder);
    EXPECT_EQ(parentOf("Guest"), "Nested");
    EXPECT_EQ(parentOf("Nested"), "Root");
    EXPECT_EQ(manager().gameObjectsCount(), 5U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(UuidMapOfCreation, reusedRootOfANestedPrefab_isFoundByTheIntegrationPointsUuid) {
    cachePrefab("inner.prefab", PrefabBuilder().root(id(7), "Inner"));
    builder.child(id(5), "Guest", id(4)).nested(id(4), "Nested", id(1), "inner.prefab");
    config.uuidMap[Uuid::combine(live(id(4)), id(7))] = manager().createGameObject();
    create(builder);
    EXPECT_EQ(parentOf("Guest"), "Nested");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(UuidMapOfCreation, descriptorUuidInTheMap_isNotTheObjectsUuid) {
    config.uuidMap[id(2)] = manager().createGameObject();
    create(builder);
    EXPECT_EQ(manager().gameObjectsCount(), 4U);
}

// Conflicts.

TEST_F(UuidMapOfCreation, conflictOnAnObjectOfTheMap_isNotRepaired) {
    config.uuidMap[live(id(2))] = manager().createGameObject();
    builder.child(id(2), "Twin", id(1));
    EXPECT_THAT(create(builder), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_WITH_MAP, FAILED));
}

TEST_F(UuidMapOfCreation, conflictOnAnObjectOfTheMap_removesItWithTheOthers) {
    const GameObject existing = manager().createGameObject();
    config.uuidMap[live(id(2))] = existing;
    builder.child(id(2), "Twin", id(1));
    create(builder);
    EXPECT_FALSE(manager().isGameObjectValid(existing));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(UuidMapOfCreation, secondRootFromTheMap_isNotRemoved) {
    const GameObject existing = manager().createGameObject();
    config.uuidMap[live(id(9))] = existing;
    builder.root(id(9), "Second root");
    EXPECT_THAT(create(builder), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(SECOND_ROOT, FAILED));
    EXPECT_TRUE(manager().isGameObjectValid(existing));
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
}

TEST_F(UuidMapOfCreation, failure_leavesTheMapAsItWas) {
    const GameObject existing = manager().createGameObject();
    config.uuidMap[id(50)] = existing;
    builder.root(id(9), "Second root");
    create(builder);
    EXPECT_EQ(config.uuidMap, (std::unordered_map<Uuid, GameObject>{{id(50), existing}}));
}

TEST_F(UuidMapOfCreation, failureByConflict_leavesTheMapAsItWas) {
    const GameObject existing = manager().createGameObject();
    config.uuidMap[live(id(3))] = existing;
    builder.child(id(2), "Twin", id(1));
    create(builder);
    EXPECT_EQ(config.uuidMap, (std::unordered_map<Uuid, GameObject>{{live(id(3)), existing}}));
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

TEST_F(UuidMapOfCreation, failureWhileInstancing_removesReusedObjectsRootFirst) {
    FarewellComponent::farewells.clear();
    addExisting(id(2), "first");
    addExisting(id(1), "root");
    addExisting(id(3), "second");
    PrefabBuilder reversed;
    reversed.child(id(3), "Second", id(2)).child(id(2), "First", id(1)).root(id(1), "Root").root(id(9), "Too many");
    EXPECT_THAT(create(reversed), IsFailure());
    EXPECT_THAT(FarewellComponent::farewells, ElementsAre("root", "second", "first"));
    EXPECT_EQ(config.uuidMap.size(), 3U); // The map still names them.
}

TEST_F(UuidMapOfCreation, failureWhileInstancing_leavesObjectsOfTheMapThatWereNotReachedYet) {
    const GameObject late = addExisting(id(5), "late");
    builder.root(id(9), "Too many").child(id(5), "Late", id(1));
    EXPECT_THAT(create(builder), IsFailure());
    EXPECT_THAT(manager().gameObjects(), ElementsAre(late));
}

TEST_F(UuidMapOfCreation, failureWhileGathering_removesNothingOfTheMap) {
    PrefabBuilder endless;
    endless.root(id(1), "Endless").nested(id(2), "Again", id(1), "endless.prefab");
    cachePrefab("endless.prefab", endless);
    const GameObject existing = addExisting(id(1), "root");
    EXPECT_THAT(create(endless), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP, FAILED));
    EXPECT_THAT(manager().gameObjects(), ElementsAre(existing));
    EXPECT_EQ(config.uuidMap, (std::unordered_map<Uuid, GameObject>{{live(id(1)), existing}}));
}

TEST_F(UuidMapOfCreation, rootThatIsTheInvalidObjectInTheMap_isNone) {
    config.uuidMap[live(id(1))] = GameObject::INVALID_GAME_OBJECT;
    EXPECT_THAT(create(builder), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(NO_ROOT, FAILED));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(UuidMapOfCreation, objectOfAnotherWorld_getsItsComponentsThere) {
    const int otherWorld = Tessel::EntryPoint::instance().createWorld();
    Tessel::GameObjectManager& other = *Tessel::getGameObjectManager(otherWorld);
    const GameObject existing = other.createGameObject();
    config.uuidMap[live(id(3))] = existing;
    builder.with<TagComponent>({"kept", {}});

    EXPECT_THAT(create(builder), SizeIs(3));
    EXPECT_EQ(manager().gameObjectsCount(), 2U);
    EXPECT_EQ(other.getGameObjectName(existing), "Second");
    EXPECT_EQ(other.getGameObjectUuid(existing), live(id(3)));
    ASSERT_NE(other.findComponent<TagComponent>(existing), nullptr);
    EXPECT_EQ(other.findComponent<TagComponent>(existing)->config.tag, "kept");
    Tessel::EntryPoint::instance().destroyWorld(otherWorld);
}

TEST_F(UuidMapOfCreation, linkOutOfThePrefab_isResolvedThroughTheMap) {
    const GameObject other = manager().createGameObject();
    config.uuidMap[live(id(42))] = other;
    builder.with<LinksComponent>();
    findDescriptor<LinksComponent>(builder.last()).config().target.setUuid(id(42));
    findDescriptor<LinksComponent>(builder.last()).storePrefabProperties();
    create(builder);
    EXPECT_EQ(configOf<LinksComponent>("Second").target.target(), other);
    EXPECT_THAT(logged(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
