#include <tessel_asset_loading/support/creation_fixture.h>

#include <set>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectLink;
using Tessel::GameObjectPrefab;
using Tessel::PrefabComponent;
using testing::IsEmpty;

/// UUIDs are a group of 2^128 elements under combine(), so the inverse of one is its power of 2^128 - 1.
[[nodiscard]] Uuid inverseOf(const Uuid& uuid) {
    Uuid inverse = uuid;
    Uuid power = uuid;
    for (int bit = 1; bit < 128; ++bit) {
        power = Uuid::combine(power, power);
        inverse = Uuid::combine(inverse, power);
    }
    return inverse;
}

/// A link of another class than the usual one.
class PlainLink final : public Tessel::ILinkConfig {
public:
    [[nodiscard]] const Uuid& uuid() const override { return m_uuid; }
    void setUuid(const Uuid& uuid) override { m_uuid = uuid; }
    [[nodiscard]] bool isLiveUuid() const override { return false; }
    [[nodiscard]] Tessel::GameObject target() const override { return m_target; }
    void setTarget(Tessel::GameObject target) override { m_target = target; }

private:
    Uuid m_uuid;
    Tessel::GameObject m_target;
};

class PlainLinkComponent final : public Tessel::PoolableComponent<PlainLinkComponent, Tessel::IComponent> {
public:
    struct Config {
        PlainLink link;
    };
    explicit PlainLinkComponent(const Config& /*config*/) {}
};

const ComponentRegistration<PlainLinkComponent> s_plainLink("PlainLinkComponent", [](auto& config) {
    config.template addProperty<&PlainLinkComponent::Config::link>("link");
});

class RegenerateUuids : public CreationFixture {
protected:
    static constexpr Uuid SEED{0xABCD, 0xEF01};

    RegenerateUuids() {
        builder.root(id(1), "Root").child(id(2), "First", id(1)).child(id(3), "Second", id(2));
        prefab = builder.build();
    }

    [[nodiscard]] Uuid uuidAt(std::size_t node) const { return prefab.getGameObject(node)->uuid(); }

    /// A LinksComponent on the last node, which takes these links as its own values.
    ComponentDescriptor<LinksComponent>& addLinks(const LinksComponent::Config& links) {
        return addComponent<LinksComponent>(builder.last(), links);
    }

    PrefabBuilder builder;
    GameObjectPrefab prefab; // A root with a chain of two below it.
};

TEST_F(RegenerateUuids, everyNode_getsANewUuid) {
    prefab.regenerateHierarchyUuids(SEED);
    const std::set<Uuid> uuids{id(1), id(2), id(3), uuidAt(0), uuidAt(1), uuidAt(2)};
    EXPECT_EQ(uuids.size(), 6U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(RegenerateUuids, hierarchy_staysTheSame) {
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_TRUE(prefab.isRootNode(0));
    EXPECT_EQ(prefab.parentNodeId(1), 0U);
    EXPECT_EQ(prefab.parentNodeId(2), 1U);
}

TEST_F(RegenerateUuids, twiceWithOneSeed_givesDifferentUuids) {
    prefab.regenerateHierarchyUuids(SEED);
    const Uuid first = uuidAt(0);
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_NE(uuidAt(0), first);
}

TEST_F(RegenerateUuids, newUuids_areCombinedOfTheSeedAndAGeneratedOne) {
    prefab.regenerateHierarchyUuids(SEED);
    // Combining with the seed's inverse restores what was combined with the seed. A generated UUID shows its version
    // and variant, which three arbitrary ones hardly would.
    const Uuid inverse = inverseOf(SEED);
    for (std::size_t node = 0; node < 3; ++node) {
        const Uuid generated = Uuid::combine(inverse, uuidAt(node));
        EXPECT_EQ(Uuid::combine(SEED, generated), uuidAt(node));
        EXPECT_EQ(generated.high() >> 12U & 0xFU, 4U);
        EXPECT_EQ(generated.low() >> 62U, 2U);
    }
}

TEST_F(RegenerateUuids, emptyPrefab_isLeftEmpty) {
    GameObjectPrefab empty;
    empty.regenerateHierarchyUuids(SEED);
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(RegenerateUuids, nodesThatShareAUuid_shareTheNewOne) {
    builder.child(id(2), "Twin", id(1));
    prefab = builder.build();
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_EQ(uuidAt(1), uuidAt(3));
    EXPECT_NE(uuidAt(1), id(2));
    EXPECT_NE(uuidAt(1), uuidAt(2));
}

TEST_F(RegenerateUuids, descriptorThatIsTwiceInTheList_getsOneNewUuid) {
    prefab.addGameObject(prefab.getGameObject(1));
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_NE(uuidAt(1), id(2));
    EXPECT_EQ(uuidAt(3), uuidAt(1));
    EXPECT_EQ(prefab.parentNodeId(1), 0U);
    EXPECT_EQ(prefab.parentNodeId(2), 1U);
}

TEST_F(RegenerateUuids, copies_showTheNewUuids) {
    const GameObjectPrefab copy(prefab);
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_EQ(copy.getGameObject(0)->uuid(), uuidAt(0));
}

// Links.

TEST_F(RegenerateUuids, links_inEveryPlace_areRewritten) {
    LinksComponent::Config links;
    links.target.setUuid(id(1));
    links.wire = {GameObjectLink(id(2)), "red"};
    links.cable.wire.end.setUuid(id(3));
    links.targets = {GameObjectLink(id(3)), GameObjectLink(id(1))};
    links.wires = {{GameObjectLink(id(2)), "green"}, {GameObjectLink(id(1)), "blue"}};
    const auto& descriptor = addLinks(links);
    prefab.regenerateHierarchyUuids(SEED);
    const LinksComponent::Config& rewritten = descriptor.config();
    EXPECT_EQ(rewritten.target.uuid(), uuidAt(0));
    EXPECT_EQ(rewritten.wire.end.uuid(), uuidAt(1));
    EXPECT_EQ(rewritten.wire.colour, "red");
    EXPECT_EQ(rewritten.cable.wire.end.uuid(), uuidAt(2));
    ASSERT_EQ(rewritten.targets.size(), 2U);
    EXPECT_EQ(rewritten.targets[0].uuid(), uuidAt(2));
    EXPECT_EQ(rewritten.targets[1].uuid(), uuidAt(0));
    ASSERT_EQ(rewritten.wires.size(), 2U);
    EXPECT_EQ(rewritten.wires[0].end.uuid(), uuidAt(1));
    EXPECT_EQ(rewritten.wires[1].end.uuid(), uuidAt(0));
}

TEST_F(RegenerateUuids, linksOfAnyClass_areRewritten) {
    PlainLinkComponent::Config links;
    links.link.setUuid(id(1));
    const auto& descriptor = addComponent<PlainLinkComponent>(builder.last(), links);
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_EQ(descriptor.config().link.uuid(), uuidAt(0));
}

TEST_F(RegenerateUuids, linksOutOfThePrefab_keepTheirTargets) {
    LinksComponent::Config links;
    links.target.setUuid(id(99));
    links.wire.end.setUuid(id(98));
    links.targets = {GameObjectLink(id(97))};
    const auto& descriptor = addLinks(links);
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_EQ(descriptor.config().target.uuid(), id(99));
    EXPECT_EQ(descriptor.config().wire.end.uuid(), id(98));
    EXPECT_EQ(descriptor.config().targets[0].uuid(), id(97));
}

TEST_F(RegenerateUuids, linksThatAreNotSet_stayZero) {
    const auto& descriptor = addLinks({});
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_EQ(descriptor.config().target.uuid(), Uuid::ZERO);
}

TEST_F(RegenerateUuids, uuidThatIsNoLink_isNotRewritten) {
    ValuesComponent::Config values;
    values.uuid = id(1);
    const auto& descriptor = addComponent<ValuesComponent>(builder.last(), values);
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_EQ(descriptor.config().uuid, id(1));
}

TEST_F(RegenerateUuids, rewrittenConfigurations_areThePrefabsOwnValues) {
    LinksComponent::Config links;
    links.target.setUuid(id(1));
    auto& descriptor = addLinks(links);
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_FALSE(descriptor.isOffPrefabProperties());
    descriptor.setupOverrides(nullptr);
    EXPECT_EQ(descriptor.config().target.uuid(), uuidAt(0));
}

TEST_F(RegenerateUuids, changedConfigurationOfAnyComponent_isStored) {
    auto& descriptor = addComponent<TagComponent>(builder.last(), {"old", {}});
    descriptor.config().tag = "new";
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_EQ(descriptor.prefabProperties().tag, "new");
}

TEST_F(RegenerateUuids, componentDescriptorOfTwoNodes_isRewrittenOnce) {
    LinksComponent::Config links;
    links.target.setUuid(id(1));
    addLinks(links);
    prefab.getGameObject(0)->addComponent(
        SmartPointer<IComponentDescriptor>::share(&findDescriptor<LinksComponent>(*prefab.getGameObject(2))));
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_EQ(findDescriptor<LinksComponent>(*prefab.getGameObject(0)).config().target.uuid(), uuidAt(0));
}

TEST_F(RegenerateUuids, overridesData_isAPlainText) {
    const std::string data = OverridesText().record(id(1), "TagComponent", element("tag", "over")).text();
    auto& descriptor = addComponent<PrefabComponent>(builder.last(), {"a.prefab", data});
    prefab.regenerateHierarchyUuids(SEED);
    EXPECT_EQ(descriptor.config().overridesData, data);
}

TEST_F(RegenerateUuids, prefab_isCreatedAndWrittenWithTheNewUuids) {
    prefab.regenerateHierarchyUuids(SEED);
    create(prefab);
    EXPECT_EQ(uuidOf("Second"), Uuid::combine(INSTANCE, uuidAt(2)));
    EXPECT_EQ(parentOf("Second"), "First");
    const SmartPointer<DataSection> section = DataSection::create("prefab");
    prefab.serialize(section);
    GameObjectPrefab read;
    read.deserialize(section, nullptr);
    EXPECT_EQ(read.getGameObject(2)->uuid(), uuidAt(2));
    EXPECT_EQ(read.parentNodeId(2), 1U);
}

} // namespace
} // namespace Kiln::TestSupport
