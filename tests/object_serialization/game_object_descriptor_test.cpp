#include "live_fixture.h"

#include <object_serialization/game_object_descriptor.h>
#include <object_serialization/override_records.h>

namespace Kiln::SerializationTests {
namespace {

using Tessel::GameObject;
using testing::ElementsAre;
using testing::IsEmpty;

class ObjectDescriptor : public LiveFixture {
protected:
    ObjectDescriptor() {
        node->setUuid(NODE_UUID);
        node->setName("lamp");
        text->config() = {"own", "note", 0};
        text->storePrefabProperties();
    }

    void createComponents(const GameObjectOverrideRecords* overrides = nullptr) {
        node->createComponents(object, INSTANCE, {}, overrides);
    }

    [[nodiscard]] const TextComponent* liveText() const { return manager().findComponent<TextComponent>(object); }

    /// Records that override the property `text` of the text component.
    [[nodiscard]] static GameObjectOverrideRecords textOverrides(const std::string& value) {
        GameObjectOverrideRecords records;
        records.get("TextComponent").add(parse("<properties><text>" + value + "</text></properties>"));
        return records;
    }

    static constexpr Uuid INSTANCE{1, 1};
    static constexpr Uuid NODE_UUID{0, 7};

    const SmartPointer<GameObjectDescriptor> node = makeSmart<GameObjectDescriptor>();
    const SmartPointer<ComponentDescriptor<TextComponent>> text = makeDescriptor<TextComponent>();
    const GameObject object = node->createGameObject(worldId);
};

TEST_F(ObjectDescriptor, default_isEmpty) {
    const auto fresh = makeSmart<GameObjectDescriptor>();
    EXPECT_EQ(fresh->uuid(), Uuid::ZERO);
    EXPECT_EQ(fresh->name(), "");
    EXPECT_TRUE(fresh->flags().none());
    EXPECT_FALSE(fresh->isInactiveByDefault());
    EXPECT_THAT(fresh->components(), IsEmpty());
}

TEST_F(ObjectDescriptor, isInactiveByDefault_isBitOne) {
    node->setFlags(0x3e);
    EXPECT_FALSE(node->isInactiveByDefault());
    node->setFlags(0x01);
    EXPECT_TRUE(node->isInactiveByDefault());
}

TEST_F(ObjectDescriptor, findComponent_byTypeAndByName_givesTheFirst) {
    const auto second = makeDescriptor<TextComponent>();
    node->addComponent(makeDescriptor<LinksComponent>());
    node->addComponent(text);
    node->addComponent(second);
    EXPECT_EQ(node->findComponent(text->type()), text.get());
    EXPECT_EQ(node->findComponent("TextComponent"), text.get());
    EXPECT_TRUE(node->hasComponent(text->type()));
    EXPECT_EQ(node->components().size(), 3U);
}

TEST_F(ObjectDescriptor, addComponent_manyTimes_keepsTheOrderAndFindsEach) {
    std::vector<IComponentDescriptor*> added;
    for (int count = 1; count <= 10; ++count) {
        const bool isLast = count == 10; // The others have another type.
        const SmartPointer<IComponentDescriptor> component =
            isLast ? SmartPointer<IComponentDescriptor>(text) : makeDescriptor<LinksComponent>();
        added.push_back(component.get());
        node->addComponent(component);
        std::vector<IComponentDescriptor*> held;
        for (const SmartPointer<IComponentDescriptor>& each : node->components()) {
            held.push_back(each.get());
        }
        ASSERT_EQ(held, added);
        ASSERT_EQ(node->findComponent(added[0]->type()), added[0]);
        ASSERT_EQ(node->findComponent("LinksComponent"), added[0]);
        ASSERT_EQ(node->findComponent(text->type()), isLast ? text.get() : nullptr);
        ASSERT_EQ(node->findComponent("TextComponent"), isLast ? text.get() : nullptr);
    }
}

TEST_F(ObjectDescriptor, findComponent_absent_isNull) {
    node->addComponent(text);
    EXPECT_EQ(node->findComponent("LinksComponent"), nullptr);
    EXPECT_EQ(node->findComponent(Tessel::NativeComponent<LinksComponent>::getType()), nullptr);
    EXPECT_FALSE(node->hasComponent(Tessel::NativeComponent<LinksComponent>::getType()));
}

TEST_F(ObjectDescriptor, addComponent_null_addsNothing) {
    node->addComponent(nullptr);
    EXPECT_THAT(node->components(), IsEmpty());
}

TEST_F(ObjectDescriptor, addComponent_sharesTheDescriptor) {
    const auto other = makeSmart<GameObjectDescriptor>();
    node->addComponent(text);
    other->addComponent(text);
    EXPECT_EQ(node->components()[0].get(), other->components()[0].get());
}

TEST_F(ObjectDescriptor, createGameObject_isEmptyAndInactive) {
    node->addComponent(text);
    const GameObject created = node->createGameObject(worldId);
    EXPECT_TRUE(Tessel::isValid(created));
    EXPECT_THAT(manager().componentTypes(created), IsEmpty());
    EXPECT_EQ(manager().getGameObjectName(created), "");
    EXPECT_FALSE(manager().isActive(created));
}

TEST_F(ObjectDescriptor, createGameObject_invalidWorld_isTheInvalidObject) {
    EXPECT_TRUE(node->createGameObject(-1).isInvalid());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ObjectDescriptor, createComponents_givesUuidAndName) {
    createComponents();
    EXPECT_EQ(manager().getGameObjectUuid(object), Uuid::combine(INSTANCE, NODE_UUID));
    EXPECT_EQ(manager().getGameObjectName(object), "lamp");
    EXPECT_EQ(manager().findGameObject(Uuid::combine(INSTANCE, NODE_UUID)), object);
}

TEST_F(ObjectDescriptor, createComponents_makesThemInOrder) {
    const auto tree = makeDescriptor<TreeComponent>();
    node->addComponent(text);
    node->addComponent(tree);
    createComponents();
    EXPECT_THAT(manager().componentTypes(object), ElementsAre(text->type(), tree->type()));
    EXPECT_EQ(liveText()->config.text, "own");
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ObjectDescriptor, createComponents_overrides_areAppliedAndTakenBack) {
    node->addComponent(text);
    const GameObjectOverrideRecords overrides = textOverrides("over");
    createComponents(&overrides);
    EXPECT_EQ(liveText()->config.text, "over");
    EXPECT_EQ(liveText()->config.note, "note");
    EXPECT_EQ(std::as_const(*text).config().text, "own");
    EXPECT_FALSE(text->isOffPrefabProperties());
}

TEST_F(ObjectDescriptor, createComponents_overridesOfOtherComponents_areIgnored) {
    node->addComponent(text);
    GameObjectOverrideRecords overrides;
    overrides.get("LinksComponent").add(parse("<properties><text>x</text></properties>"));
    createComponents(&overrides);
    EXPECT_EQ(liveText()->config.text, "own");
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ObjectDescriptor, createComponents_configurationChangedBefore_isUsedAndTakenBack) {
    node->addComponent(text);
    text->config().text = "changed";
    createComponents();
    EXPECT_EQ(liveText()->config.text, "changed");
    EXPECT_EQ(std::as_const(*text).config().text, "own");
}

TEST_F(ObjectDescriptor, createComponents_overridesReplaceWhatWasChangedBefore) {
    node->addComponent(text);
    text->config().note = "changed";
    const GameObjectOverrideRecords overrides = textOverrides("over");
    createComponents(&overrides);
    EXPECT_EQ(liveText()->config.text, "over");
    EXPECT_EQ(liveText()->config.note, "note");
}

TEST_F(ObjectDescriptor, createComponents_twice_theSecondIsNotOverridden) {
    node->addComponent(text);
    const GameObjectOverrideRecords overrides = textOverrides("over");
    createComponents(&overrides);
    const GameObject second = node->createGameObject(worldId);
    node->createComponents(second, {2, 2}, {}, nullptr);
    EXPECT_EQ(liveText()->config.text, "over");
    EXPECT_EQ(manager().findComponent<TextComponent>(second)->config.text, "own");
}

TEST_F(ObjectDescriptor, createComponents_overriddenLink_isResolved) {
    const auto links = makeDescriptor<LinksComponent>();
    links->storePrefabProperties();
    node->addComponent(links);
    GameObjectOverrideRecords overrides;
    overrides.get("LinksComponent")
        .add(parse("<properties><link>00000000-0000-0000-0000-000000000009</link></properties>"));
    const GameObject target = create();
    node->createComponents(object, INSTANCE, {{Uuid::combine(INSTANCE, {0, 9}), target}}, &overrides);
    EXPECT_EQ(manager().findComponent<LinksComponent>(object)->config.link.target(), target);
    EXPECT_EQ(links->prefabProperties().link.uuid(), Uuid::ZERO);
}

TEST_F(ObjectDescriptor, createComponents_unresolvedLink_leavesTheOtherComponents) {
    const auto hierarchy = makeDescriptor<Tessel::HierarchyComponent>();
    hierarchy->config().parent.setUuid({0, 9});
    node->addComponent(hierarchy);
    node->addComponent(text);
    createComponents();
    EXPECT_NE(liveText(), nullptr);
    EXPECT_TRUE(manager().hasComponent(object, hierarchy->type()));
    EXPECT_TRUE(manager().getParent(object).isInvalid());
    EXPECT_THAT(log.texts(), ElementsAre("Game object 'lamp', component 'HierarchyComponent': the link to "
                                         "00000000-0000-0000-0000-000000000009 resolves to nothing"));
}

TEST_F(ObjectDescriptor, createComponents_removedObjectOrDestroyedWorld_doesNothing) {
    node->addComponent(text);
    manager().removeGameObject(object);
    createComponents();
    node->createComponents(GameObject::INVALID_GAME_OBJECT, INSTANCE, {}, nullptr);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ObjectDescriptor, updateStateFlags_setsThemAndEnables) {
    node->setFlags(0x05);
    node->updateStateFlags(object);
    EXPECT_EQ(manager().getGameObjectFlags(object).to_ulong(), 5U);
    EXPECT_FALSE(manager().isEnabled(object));
    node->setFlags(0x04);
    node->updateStateFlags(object);
    EXPECT_TRUE(manager().isEnabled(object));
    EXPECT_FALSE(manager().isActive(object));
    node->updateStateFlags(GameObject::INVALID_GAME_OBJECT);
    EXPECT_THAT(log.messages(), IsEmpty());
}

} // namespace
} // namespace Kiln::SerializationTests
