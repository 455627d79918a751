#include "updates_fixture.h"

#include <object_framework/hierarchy_component.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

/// A house with the rooms "hall" (2) and "attic" (3), and a "bed" (4) in the hall.
class House {
public:
    House() {
        m_text.component("StateComponent", m_text.root(id(1), "house"), element("text", "house"));
        child(2, "hall", 1);
        child(3, "attic", 1);
    }

    House& child(std::uint64_t number, const std::string& name, std::uint64_t parent, unsigned flags = 0) {
        const std::size_t index = m_text.child(id(number), name, id(parent), flags);
        m_text.component("StateComponent", index, element("text", name));
        return *this;
    }

    [[nodiscard]] std::string text() const { return m_text.text(); }

private:
    PrefabText m_text;
};

class ChangedObjects : public UpdatesFixture {
protected:
    GameObject createHouse() {
        write("house.prefab", House().child(4, "bed", 2).text());
        const GameObject root = create("house.prefab");
        for (const char* const name : {"house", "hall", "attic", "bed"}) {
            state(in(root, name))->state = 7;
        }
        return root;
    }

    void update(const std::string& text) {
        write("house.prefab", text);
        settle();
        EXPECT_THAT(updated, SizeIs(1));
        updated.resize(1);
    }
};

TEST_F(ChangedObjects, areAddedAndActiveLikeTheirParents) {
    const GameObject root = createHouse();
    manager().deactivateGameObject(in(root, "attic"));
    update(House().child(4, "bed", 2).child(5, "pillow", 4).child(6, "chest", 3).child(7, "secret", 1, 1).text());
    const GameObject pillow = in(root, "pillow");
    EXPECT_THAT(updated[0].added, ElementsAre(pillow, in(root, "chest"), in(root, "secret")));
    EXPECT_THAT(updated[0].changed, IsEmpty());
    EXPECT_THAT(updated[0].removed, IsEmpty());
    EXPECT_EQ(parentOf(pillow), in(root, "bed"));
    EXPECT_EQ(textOf(pillow), "pillow");
    EXPECT_TRUE(manager().isActive(pillow));
    EXPECT_FALSE(manager().isActive(in(root, "chest"))) << "its parent is inactive";
    EXPECT_TRUE(manager().isEnabled(in(root, "chest")));
    EXPECT_FALSE(manager().isActive(in(root, "secret"))) << "it is inactive by default";
    EXPECT_FALSE(manager().isEnabled(in(root, "secret")));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ChangedObjects, leaveTheOthersAlone) {
    const GameObject root = createHouse();
    const GameObject bed = in(root, "bed");
    const StateComponent* const component = state(bed);
    update(House().child(4, "bed", 2).child(5, "pillow", 4).text());
    EXPECT_EQ(in(root, "bed"), bed);
    EXPECT_EQ(state(bed), component);
    for (const char* const name : {"house", "hall", "attic", "bed"}) {
        EXPECT_EQ(state(in(root, name))->state, 7) << name;
    }
}

TEST_F(ChangedObjects, getTheUuidsThatACreationDerives) {
    const GameObject root = createHouse();
    const Uuid instance = manager().findComponent<Tessel::PrefabComponent>(root)->instanceUuid();
    ASSERT_NE(instance, Uuid::ZERO);
    update(House().child(4, "bed", 2).child(5, "pillow", 4).text());
    EXPECT_EQ(manager().getGameObjectUuid(in(root, "pillow")), Uuid::combine(instance, id(5)));
}

TEST_F(ChangedObjects, inASubtreeAreAddedTogether) {
    const GameObject root = createHouse();
    update(House().child(4, "bed", 2).child(5, "tower", 1).child(6, "bell", 5).child(7, "rope", 6).text());
    EXPECT_EQ(parentOf(in(root, "rope")), in(root, "bell"));
    EXPECT_EQ(parentOf(in(root, "bell")), in(root, "tower"));
    EXPECT_TRUE(manager().isActive(in(root, "rope")));
    EXPECT_THAT(updated[0].added, SizeIs(3));
}

TEST_F(ChangedObjects, areRemovedWithTheirDescendants) {
    const GameObject root = createHouse();
    const GameObject hall = in(root, "hall");
    const GameObject bed = in(root, "bed");
    PrefabText text;
    text.component("StateComponent", text.root(id(1), "house"), element("text", "house"));
    text.component("StateComponent", text.child(id(3), "attic", id(1)), element("text", "attic"));
    update(text.text());
    EXPECT_THAT(updated[0].removed, UnorderedElementsAre(hall, bed));
    EXPECT_FALSE(Tessel::isValid(hall));
    EXPECT_FALSE(Tessel::isValid(bed));
    EXPECT_EQ(state(in(root, "attic"))->state, 7);
    EXPECT_EQ(manager().gameObjectsCount(), 2U);
}

TEST_F(ChangedObjects, moveToOtherParents) {
    const GameObject root = createHouse();
    const GameObject bed = in(root, "bed");
    update(House().child(4, "bed", 3).text());
    EXPECT_EQ(parentOf(bed), in(root, "attic"));
    EXPECT_EQ(state(bed)->state, 7);
    EXPECT_TRUE(manager().isActive(bed));
    EXPECT_THAT(updated[0].changed, ElementsAre(bed));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ChangedObjects, surviveTheirFormerParent) {
    const GameObject root = createHouse();
    const GameObject bed = in(root, "bed");
    PrefabText text;
    text.component("StateComponent", text.root(id(1), "house"), element("text", "house"));
    text.component("StateComponent", text.child(id(4), "bed", id(1)), element("text", "bed"));
    update(text.text());
    EXPECT_EQ(parentOf(bed), root);
    EXPECT_EQ(state(bed)->state, 7);
    EXPECT_THAT(updated[0].changed, ElementsAre(bed));
    EXPECT_THAT(updated[0].removed, SizeIs(2));
}

TEST_F(ChangedObjects, exchangeParentAndChild) {
    const GameObject root = createHouse();
    const GameObject bed = in(root, "bed");
    const GameObject hall = in(root, "hall");
    PrefabText text;
    text.component("StateComponent", text.root(id(1), "house"), element("text", "house"));
    text.component("StateComponent", text.child(id(2), "hall", id(4)), element("text", "hall"));
    text.component("StateComponent", text.child(id(3), "attic", id(1)), element("text", "attic"));
    text.component("StateComponent", text.child(id(4), "bed", id(1)), element("text", "bed"));
    update(text.text());
    EXPECT_EQ(parentOf(bed), root);
    EXPECT_EQ(parentOf(hall), bed);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ChangedObjects, getNewNamesAndFlags) {
    const GameObject root = createHouse();
    const GameObject bed = in(root, "bed");
    write("house.prefab", House().child(4, "couch", 2, 6).text());
    settle();
    EXPECT_EQ(manager().getGameObjectName(bed), "couch");
    EXPECT_EQ(manager().getGameObjectFlags(bed), Tessel::GameObjectFlag::STATIC | Tessel::GameObjectFlag::HIDDEN);
    EXPECT_TRUE(manager().isActive(bed));
    EXPECT_EQ(textOf(bed), "couch");
    EXPECT_THAT(updated[0].changed, ElementsAre(bed));
    static_cast<void>(root);
}

TEST_F(ChangedObjects, withOtherFlagsStayDeactivated) {
    const GameObject root = createHouse();
    const GameObject bed = in(root, "bed");
    manager().deactivateGameObject(bed);
    update(House().child(4, "bed", 2, 2).text());
    EXPECT_FALSE(manager().isEnabled(bed));
    EXPECT_FALSE(manager().isActive(bed));
    EXPECT_EQ(manager().getGameObjectFlags(bed), Tessel::GameObjectFlag::STATIC);
    static_cast<void>(root);
}

TEST_F(ChangedObjects, thatBecomeInactiveByDefaultKeepTheirActivity) {
    const GameObject root = createHouse();
    const GameObject bed = in(root, "bed");
    update(House().child(4, "bed", 2, 1).text());
    EXPECT_TRUE(manager().isActive(bed));
    EXPECT_FALSE(manager().isEnabled(bed));
    static_cast<void>(root);
}

TEST_F(ChangedObjects, getAndLoseComponents) {
    const auto withTag = [](const std::string& type) {
        PrefabText text;
        const std::size_t root = text.root(id(1), "house");
        text.component("StateComponent", root, element("text", "house"));
        text.component(type, root, element("tag", "new"));
        return text.text();
    };
    write("house.prefab", withTag("TagComponent"));
    const GameObject root = create("house.prefab");
    state(root)->state = 7;
    update(withTag("HookComponent"));
    EXPECT_EQ(find<TagComponent>(root), nullptr);
    ASSERT_NE(find<HookComponent>(root), nullptr);
    EXPECT_EQ(find<HookComponent>(root)->config.tag, "new");
    EXPECT_EQ(state(root)->state, 7);
}

TEST_F(ChangedObjects, areOnlyListedInAnotherOrder) {
    const GameObject root = createHouse();
    PrefabText text;
    text.component("StateComponent", text.child(id(4), "bed", id(2)), element("text", "bed"));
    text.component("StateComponent", text.child(id(3), "attic", id(1)), element("text", "attic"));
    text.component("StateComponent", text.child(id(2), "hall", id(1)), element("text", "hall"));
    text.component("StateComponent", text.root(id(1), "house"), element("text", "house"));
    write("house.prefab", text);
    settle();
    EXPECT_THAT(updated, IsEmpty());
    EXPECT_EQ(state(in(root, "bed"))->state, 7);
    updated.clear();
    text.component("TagComponent", 0, element("tag", "soft"));
    write("house.prefab", text);
    settle();
    EXPECT_EQ(tagOf(in(root, "bed")), "soft");
    EXPECT_EQ(state(in(root, "bed"))->state, 7);
}

TEST_F(ChangedObjects, thatTheGameHasRemovedDoNotComeBack) {
    const GameObject root = createHouse();
    manager().removeGameObject(in(root, "hall"));
    update(House().child(4, "bed", 2).child(5, "pillow", 4).child(6, "chest", 3).text());
    EXPECT_TRUE(in(root, "hall").isInvalid());
    EXPECT_TRUE(in(root, "chest") != GameObject::INVALID_GAME_OBJECT);
    EXPECT_THAT(updated[0].added, ElementsAre(in(root, "chest"))) << "the parent of the pillow does not exist";
    EXPECT_EQ(manager().gameObjectsCount(), 3U);
}

TEST_F(ChangedObjects, ofAnInactiveInstanceStayInactive) {
    write("house.prefab", House().text());
    Options options;
    options.isActive = false;
    const GameObject root = create("house.prefab", options);
    update(House().child(4, "bed", 2).text());
    EXPECT_FALSE(manager().isActive(root));
    EXPECT_FALSE(manager().isActive(in(root, "bed")));
    EXPECT_FALSE(state(in(root, "bed"))->isActive);
}

TEST_F(ChangedObjects, keepTheParentOfTheRoot) {
    write("house.prefab", House().text());
    Options options;
    options.parent = manager().createGameObject();
    manager().activateGameObject(options.parent);
    const GameObject root = create("house.prefab", options);
    update(House().child(4, "bed", 2).text());
    EXPECT_EQ(parentOf(root), options.parent);
    EXPECT_TRUE(manager().isActive(in(root, "bed")));
}

TEST_F(ChangedObjects, takeTheOverridesOfTheRequest) {
    write("house.prefab", House().text());
    Options options;
    OverridesText overrides;
    overrides.record(id(4), "StateComponent", element("text", "overridden"));
    options.overrides = OverrideRecords::create(overrides.text());
    const GameObject root = create("house.prefab", options);
    update(House().child(4, "bed", 2).text());
    EXPECT_EQ(textOf(in(root, "bed")), "overridden");
    state(in(root, "bed"))->state = 7;
    write("house.prefab", House().child(4, "bed", 2).child(5, "pillow", 4).text());
    settle();
    EXPECT_EQ(state(in(root, "bed"))->state, 7) << "its overrides have not changed";
}

TEST_F(ChangedObjects, becomeTargetsOfLinks) {
    const auto linked = [](bool hasBed) {
        PrefabText text;
        const std::size_t root = text.root(id(1), "house");
        const std::size_t hall = text.child(id(2), "hall", id(1));
        text.component("StateComponent", root, element("target", id(4).toString()));
        text.component("StateComponent", hall, element("target", id(1).toString()));
        if (hasBed) {
            text.child(id(4), "bed", id(1));
        }
        return text.text();
    };
    write("house.prefab", linked(false));
    const GameObject root = create("house.prefab");
    state(in(root, "hall"))->state = 7;
    log.clear();
    update(linked(true));
    EXPECT_EQ(state(root)->config.target.target(), in(root, "bed"));
    EXPECT_EQ(state(in(root, "hall"))->state, 7) << "its link refers to the same object";
    EXPECT_THAT(updated[0].changed, ElementsAre(root));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ChangedObjects, goOnWhenTheComponentOfANewObjectThrows) {
    const GameObject root = createHouse();
    StateComponent::onConstruct = [](const StateComponent::Config& config) {
        if (config.text == "pillow") {
            throw std::runtime_error("no feathers");
        }
    };
    update(House().child(4, "bed", 2).child(5, "pillow", 4).child(6, "chest", 3).text());
    EXPECT_EQ(textOf(in(root, "pillow")), "<none>");
    EXPECT_EQ(textOf(in(root, "chest")), "chest");
    EXPECT_THAT(logged(), ElementsAre("5: Failed to update an instance of 'house.prefab': component 'StateComponent': "
                                      "no feathers"));
}

TEST_F(ChangedObjects, withTheSameUuidAreRefused) {
    const GameObject root = createHouse();
    write("house.prefab", House().child(4, "bed", 2).child(5, "twin", 2).child(5, "twin", 2).text());
    settle();
    EXPECT_THAT(updated, IsEmpty());
    EXPECT_EQ(manager().gameObjectsCount(), 4U);
    EXPECT_EQ(library.find("house.prefab")->prefab()->nodesCount(), 4U);
    EXPECT_EQ(service().findSharedPrefab("house.prefab")->prefab->nodesCount(), 4U);
    EXPECT_EQ(updates->documentsVersion(), 0U);
    EXPECT_THAT(logged(), IsEmpty());
    ASSERT_THAT(refused, SizeIs(1));
    EXPECT_EQ(refused[0].file, "house.prefab");
    ASSERT_THAT(refused[0].failures, SizeIs(1));
    EXPECT_EQ(refused[0].failures[0].text(),
              "house.prefab: Two game objects have the UUID " + id(5).toString() + ". (CREATION_FAILED)");
    write("house.prefab", House().child(4, "sofa", 2).text());
    settle();
    EXPECT_THAT(updated, SizeIs(1));
    EXPECT_EQ(textOf(in(root, "sofa")), "sofa");
}

} // namespace
} // namespace Kiln::TestSupport
