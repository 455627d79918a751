#include "live_fixture.h"

#include <object_serialization/game_object_descriptor.h>

namespace Kiln::SerializationTests {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectLink;
using testing::ElementsAre;
using testing::IsEmpty;

class Links : public LiveFixture {
protected:
    /// Resolves the links of `descriptor` for the object.
    const LinksConfig& resolve() {
        descriptor->resolveLinks(object, INSTANCE, objects);
        return std::as_const(*descriptor).config();
    }

    [[nodiscard]] static Message unresolved(const std::string& uuid) {
        return {LogSeverity::WARNING, "",
                "Game object 'lamp', component 'LinksComponent': the link to " + uuid + " resolves to nothing",
                "object_serialization/link_resolution"};
    }

    static constexpr Uuid INSTANCE{0x1111, 0x2222};
    static constexpr Uuid A{0, 0xa};
    static constexpr Uuid B{0, 0xb};
    static constexpr const char* A_TEXT = "00000000-0000-0000-0000-00000000000a";

    const GameObject object = create("lamp");
    const GameObject objectA = create("a");
    const GameObject objectB = create("b");
    UuidMap objects{{Uuid::combine(INSTANCE, A), objectA}, {Uuid::combine(INSTANCE, B), objectB}};
    const SmartPointer<ComponentDescriptor<LinksComponent>> descriptor = makeDescriptor<LinksComponent>();
};

TEST_F(Links, link_meansTheObjectOfTheInstance) {
    descriptor->config().link.setUuid(A);
    EXPECT_EQ(resolve().link.target(), objectA);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Links, link_isNotTakenAsALiveUuid) {
    objects = {{A, objectA}};
    descriptor->config().link.setUuid(A);
    EXPECT_TRUE(resolve().link.target().isInvalid());
    EXPECT_THAT(log.messages(), ElementsAre(unresolved(A_TEXT)));
}

TEST_F(Links, liveLink_isLookedUpUnchanged) {
    objects = {{A, objectA}, {Uuid::combine(INSTANCE, A), objectB}};
    descriptor->config().link.setUuid(A);
    descriptor->config().link.setLiveUuid(true);
    EXPECT_EQ(resolve().link.target(), objectA);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Links, zeroUuid_isNoLinkAndSilent) {
    EXPECT_TRUE(resolve().link.target().isInvalid());
    descriptor->config().link.setLiveUuid(true);
    EXPECT_TRUE(resolve().link.target().isInvalid());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Links, unresolvedLink_isInvalidWithOneWarning) {
    descriptor->config().link.setUuid({0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001});
    EXPECT_TRUE(resolve().link.target().isInvalid());
    EXPECT_THAT(log.messages(), ElementsAre(unresolved("5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001")));
}

TEST_F(Links, unresolvedLiveLink_namesItsUuid) {
    descriptor->config().link.setUuid({0, 0xc});
    descriptor->config().link.setLiveUuid(true);
    EXPECT_TRUE(resolve().link.target().isInvalid());
    EXPECT_THAT(log.messages(), ElementsAre(unresolved("00000000-0000-0000-0000-00000000000c")));
}

TEST_F(Links, unresolvedLink_losesAnEarlierTarget) {
    descriptor->config().link.setUuid(A);
    EXPECT_EQ(resolve().link.target(), objectA);
    objects.clear();
    EXPECT_TRUE(resolve().link.target().isInvalid());
}

TEST_F(Links, unresolvedLinkOfADeadObject_warnsWithoutName) {
    manager().removeGameObject(object);
    descriptor->config().link.setUuid({0, 0xc});
    (void)resolve();
    EXPECT_THAT(log.texts(), ElementsAre("Game object '', component 'LinksComponent': the link to "
                                         "00000000-0000-0000-0000-00000000000c resolves to nothing"));
}

TEST_F(Links, vectorOfLinks_eachIsResolved) {
    descriptor->config().links = {GameObjectLink(B), GameObjectLink(Uuid(0, 0xc)), GameObjectLink(), GameObjectLink(A)};
    const LinksConfig& config = resolve();
    EXPECT_EQ(config.links[0].target(), objectB);
    EXPECT_TRUE(config.links[1].target().isInvalid());
    EXPECT_TRUE(config.links[2].target().isInvalid());
    EXPECT_EQ(config.links[3].target(), objectA);
    EXPECT_THAT(log.messages(), ElementsAre(unresolved("00000000-0000-0000-0000-00000000000c")));
}

TEST_F(Links, linkInAStructure_isResolved) {
    descriptor->config().wire.end.setUuid(A);
    EXPECT_EQ(resolve().wire.end.target(), objectA);
}

TEST_F(Links, linksInAVectorOfStructures_areResolved) {
    descriptor->config().wires = {{GameObjectLink(A)}, {GameObjectLink(B)}};
    const LinksConfig& config = resolve();
    EXPECT_EQ(config.wires[0].end.target(), objectA);
    EXPECT_EQ(config.wires[1].end.target(), objectB);
}

TEST_F(Links, resolving_isNoChangeOfTheConfiguration) {
    descriptor->config().link.setUuid(A);
    descriptor->storePrefabProperties();
    EXPECT_EQ(resolve().link.target(), objectA);
    EXPECT_FALSE(descriptor->isOffPrefabProperties());
    EXPECT_EQ(descriptor->prefabProperties().link.uuid(), A);
}

TEST_F(Links, changedConfiguration_isTheOneThatIsResolved) {
    descriptor->config().link.setUuid(A);
    descriptor->storePrefabProperties();
    descriptor->config().link.setUuid(B);
    EXPECT_EQ(resolve().link.target(), objectB);
}

/// Game objects as a creation makes them: first all objects, then their components. An integration point with UUID
/// POINT is in the instance; the nested prefab's root has UUID ROOT.
class LinksToANestedRoot : public Links {
protected:
    struct Item {
        SmartPointer<GameObjectDescriptor> descriptor;
        Uuid instanceUuid;
    };

    [[nodiscard]] static SmartPointer<GameObjectDescriptor> makeNode(const Uuid& uuid, std::string name) {
        SmartPointer<GameObjectDescriptor> node = makeSmart<GameObjectDescriptor>();
        node->setUuid(uuid);
        node->setName(std::move(name));
        return node;
    }

    /// The descriptor that represents the nested root, under object A.
    [[nodiscard]] static Item nestedRoot(const Uuid& point, const Uuid& root = ROOT) {
        const auto hierarchy = makeDescriptor<Tessel::HierarchyComponent>();
        hierarchy->config().parent.setUuid(Uuid::combine(INSTANCE, A));
        hierarchy->config().parent.setLiveUuid(true);
        const SmartPointer<GameObjectDescriptor> node = makeNode(root, "nested");
        node->addComponent(hierarchy);
        return {node, Uuid::combine(INSTANCE, point)};
    }

    /// A node of the instance whose parent is the integration point.
    [[nodiscard]] static Item childOf(const Uuid& point) {
        const auto hierarchy = makeDescriptor<Tessel::HierarchyComponent>();
        hierarchy->config().parent.setUuid(point);
        const SmartPointer<GameObjectDescriptor> node = makeNode({0, 0xc}, "child");
        node->addComponent(hierarchy);
        return {node, INSTANCE};
    }

    /// The items whose parent is live are the nested roots.
    class NestedRoots final : public INestedRoots {
    public:
        NestedRoots(const std::vector<Item>& items, const std::vector<GameObject>& created) {
            for (std::size_t i = 0; i < items.size(); ++i) {
                const GameObjectLink* const parent = items[i].descriptor->parentLink();
                if (parent && parent->isLiveUuid()) {
                    m_objects[items[i].instanceUuid] = created[i];
                }
            }
        }

        [[nodiscard]] GameObject findNestedRoot(const Uuid& nestedInstanceUuid) override {
            const auto found = m_objects.find(nestedInstanceUuid);
            return found == m_objects.end() ? GameObject::INVALID_GAME_OBJECT : found->second;
        }

    private:
        UuidMap m_objects;
    };

    /// Creates the items' objects and returns them.
    std::vector<GameObject> createAll(const std::vector<Item>& items) {
        std::vector<GameObject> created;
        for (const Item& item : items) {
            created.push_back(item.descriptor->createGameObject(worldId));
            objects[Uuid::combine(item.instanceUuid, item.descriptor->uuid())] = created.back();
        }
        NestedRoots nestedRoots(items, created);
        ObjectCreation creation(*Tessel::EntryPoint::instance().findValidWorld(worldId), objects, INSTANCE,
                                &nestedRoots);
        for (std::size_t i = 0; i < items.size(); ++i) {
            creation.enterInstance(items[i].instanceUuid);
            items[i].descriptor->createComponents(creation, created[i],
                                                  creation.inInstance(items[i].descriptor->uuid()), nullptr);
        }
        return created;
    }

    static constexpr Uuid POINT{0, 0x10};
    static constexpr Uuid ROOT{0, 0x20};
};

TEST_F(LinksToANestedRoot, nodeAfterTheIntegrationPoint) {
    const auto created = createAll({nestedRoot(POINT), childOf(POINT)});
    EXPECT_EQ(manager().getParent(created[1]), created[0]);
    EXPECT_EQ(manager().getParent(created[0]), objectA);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(LinksToANestedRoot, nodeBeforeTheIntegrationPoint) {
    const auto created = createAll({childOf(POINT), nestedRoot(POINT)});
    EXPECT_EQ(manager().getParent(created[0]), created[1]);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(LinksToANestedRoot, severalIntegrationPointsOfOnePrefab) {
    const Uuid other(0, 0x11);
    const auto created = createAll({nestedRoot(POINT), nestedRoot(other), childOf(other)});
    EXPECT_EQ(manager().getParent(created[2]), created[1]);
}

TEST_F(LinksToANestedRoot, integrationPointsOfSeveralPrefabs) {
    const Uuid other(0, 0x11);
    const auto created = createAll({nestedRoot(POINT), nestedRoot(other, {0, 0x21}), childOf(other)});
    EXPECT_EQ(manager().getParent(created[2]), created[1]);
}

TEST_F(LinksToANestedRoot, integrationPointThatWasLeftOut_isUnresolved) {
    const auto created = createAll({nestedRoot(POINT), childOf({0, 0x11})});
    EXPECT_TRUE(manager().getParent(created[1]).isInvalid());
    EXPECT_THAT(log.texts(), ElementsAre("Game object 'child', component 'HierarchyComponent': the link to "
                                         "00000000-0000-0000-0000-000000000011 resolves to nothing"));
}

TEST_F(LinksToANestedRoot, secondCreation_resolvesItsOwn) {
    createAll({nestedRoot(POINT), childOf(POINT)});
    objects = {{Uuid::combine(INSTANCE, A), objectA}};
    const auto created = createAll({nestedRoot(POINT, {0, 0x21}), childOf(POINT)});
    EXPECT_EQ(manager().getParent(created[1]), created[0]);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(LinksToANestedRoot, outsideOfACreation_isUnresolved) {
    const auto created = createAll({nestedRoot(POINT), childOf(POINT)});
    descriptor->config().link.setUuid(POINT);
    EXPECT_TRUE(resolve().link.target().isInvalid());
    EXPECT_THAT(log.messages(), ElementsAre(unresolved(POINT.toString())));
}

TEST_F(LinksToANestedRoot, linkToAnObjectInsideTheNestedInstance_isTheOrdinaryRule) {
    const Uuid inner(0, 0x30);
    const Item innerItem{makeNode(inner, "inner"), Uuid::combine(INSTANCE, POINT)};
    const auto created = createAll({nestedRoot(POINT), innerItem, childOf(Uuid::combine(POINT, inner))});
    EXPECT_EQ(manager().getParent(created[2]), created[1]);
    EXPECT_THAT(log.messages(), IsEmpty());
}

} // namespace
} // namespace Kiln::SerializationTests
