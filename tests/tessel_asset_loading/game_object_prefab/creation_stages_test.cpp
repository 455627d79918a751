// The single stages of createGameObjects, which are private: what each is given and what it leaves behind.

#include <tessel_asset_loading/support/creation_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectPrefab;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Items = std::vector<GameObjectPrefab::GameObjectCreationItem>;
using Map = std::unordered_map<Uuid, GameObject>;

struct Gather {
    using Type = bool (GameObjectPrefab::*)(Items&, const Uuid&, SmartPointer<OverrideRecords>, bool, int) const;
    friend Type member(Gather stage);
};
struct CreateObjects {
    using Type = bool (GameObjectPrefab::*)(Items&, int, std::vector<GameObject>&, Map&) const;
    friend Type member(CreateObjects stage);
};
struct CreateComponents {
    using Type = void (GameObjectPrefab::*)(const Items&, const Map&) const;
    friend Type member(CreateComponents stage);
};

/// An explicit instantiation may name private members.
template <class Stage, typename Stage::Type MEMBER>
struct Exposed {
    friend typename Stage::Type member(Stage /*stage*/) { return MEMBER; }
};
template struct Exposed<Gather, &GameObjectPrefab::gatherGameObjectsRecursively>;
template struct Exposed<CreateObjects, &GameObjectPrefab::createGoInstances>;
template struct Exposed<CreateComponents, &GameObjectPrefab::createComponentsAndUpdateFlags>;

class CreationStages : public CreationFixture {
protected:
    CreationStages() {
        PrefabBuilder inner;
        inner.root(id(11), "Inner root").child(id(12), "Inner child", id(11));
        cachePrefab("inner.prefab", inner);
        PrefabBuilder outer;
        outer.root(id(1), "Root").nested(id(2), "Point", id(1), "inner.prefab").child(id(3), "Last", id(2));
        prefab = outer.build();
    }

    bool gather(const SmartPointer<OverrideRecords>& overrides = nullptr, bool skipRoots = false, int depth = 0) {
        return (prefab.*member(Gather()))(items, INSTANCE, overrides, skipRoots, depth);
    }
    bool createObjects() { return (prefab.*member(CreateObjects()))(items, worldId, created, map); }
    void createComponents() { (prefab.*member(CreateComponents()))(items, map); }

    [[nodiscard]] std::vector<std::string> itemNames() const {
        std::vector<std::string> names;
        for (const auto& item : items) {
            names.emplace_back(item.descriptor->name());
        }
        return names;
    }

    GameObjectPrefab prefab;
    Items items;
    std::vector<GameObject> created;
    Map map;
};

TEST_F(CreationStages, gathering_listsTheNestedPrefabAfterItsPoint) {
    EXPECT_TRUE(gather());
    EXPECT_THAT(itemNames(), ElementsAre("Root", "Point", "Inner child", "Last"));
    const Uuid nested = Uuid::combine(INSTANCE, id(2));
    EXPECT_EQ(items[0].instanceUuid, INSTANCE);
    EXPECT_EQ(items[1].instanceUuid, nested);
    EXPECT_EQ(items[2].instanceUuid, nested);
    EXPECT_EQ(items[3].instanceUuid, INSTANCE);
    EXPECT_EQ(items[1].descriptor->uuid(), id(11));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(CreationStages, gathering_appendsToTheItems) {
    EXPECT_TRUE(gather());
    EXPECT_TRUE(gather());
    EXPECT_THAT(items, SizeIs(8));
}

TEST_F(CreationStages, gathering_skipsRootsOnRequest) {
    EXPECT_TRUE(gather(nullptr, true));
    EXPECT_THAT(itemNames(), ElementsAre("Point", "Inner child", "Last"));
}

TEST_F(CreationStages, gathering_sharesTheOverridesOfTheInstance) {
    const SmartPointer<OverrideRecords> overrides = makeSmart<OverrideRecords>();
    EXPECT_TRUE(gather(overrides));
    EXPECT_EQ(items[0].overrides, overrides);
    EXPECT_EQ(items[1].overrides, nullptr);
    EXPECT_EQ(items[3].overrides, overrides);
    EXPECT_EQ(overrides->refCount(), 3U);
}

TEST_F(CreationStages, gathering_keepsTheItemsBeforeALevelThatIsTooDeep) {
    EXPECT_FALSE(gather(nullptr, false, 5));
    EXPECT_THAT(itemNames(), ElementsAre("Root", "Point"));
    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP));
}

TEST_F(CreationStages, gathering_beyondTheDepthLimit_appendsNothing) {
    EXPECT_FALSE(gather(nullptr, false, 6));
    EXPECT_THAT(items, IsEmpty());
    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP));
}

TEST_F(CreationStages, creatingObjects_makesThemWithoutComponents) {
    ASSERT_TRUE(gather());
    EXPECT_TRUE(createObjects());
    ASSERT_THAT(created, SizeIs(4));
    EXPECT_THAT(items, SizeIs(4));
    EXPECT_THAT(map, SizeIs(4));
    EXPECT_EQ(map.at(Uuid::combine(INSTANCE, id(1))), created[0]);
    for (const GameObject object : created) {
        EXPECT_TRUE(manager().isGameObjectValid(object));
        EXPECT_THAT(manager().componentTypes(object), IsEmpty());
    }
}

TEST_F(CreationStages, creatingObjects_thatFails_leavesWhatItMadeToTheCaller) {
    prefab.addGameObject(makeNode(id(4), "Second root"));
    ASSERT_TRUE(gather());
    EXPECT_FALSE(createObjects());
    EXPECT_THAT(logged(), ElementsAre(SECOND_ROOT));
    EXPECT_THAT(created, SizeIs(5));
    EXPECT_EQ(manager().gameObjectsCount(), 5U);
    EXPECT_THAT(map, IsEmpty());
}

TEST_F(CreationStages, creatingObjects_withoutItems_findsNoRoot) {
    EXPECT_FALSE(createObjects());
    EXPECT_THAT(logged(), ElementsAre(NO_ROOT));
    EXPECT_THAT(created, ElementsAre(GameObject::INVALID_GAME_OBJECT));
}

TEST_F(CreationStages, creatingComponents_completesTheObjects) {
    ASSERT_TRUE(gather());
    ASSERT_TRUE(createObjects());
    createComponents();
    EXPECT_THAT(namesOf(manager(), created), ElementsAre("Root", "Point", "Inner child", "Last"));
    EXPECT_EQ(parentOf("Point"), "Root");
    EXPECT_EQ(parentOf("Inner child"), "Point");
    EXPECT_EQ(parentOf("Last"), "Point"); // It names the integration point.
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(CreationStages, creatingComponents_ofAnObjectThatIsNotInTheMap_throws) {
    ASSERT_TRUE(gather());
    EXPECT_THROW(createComponents(), std::out_of_range);
}

} // namespace
} // namespace Kiln::TestSupport
