#include <tessel_asset_loading/support/creation_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectLink;
using Tessel::GameObjectPrefab;
using testing::ElementsAre;
using testing::IsEmpty;

[[nodiscard]] LinksComponent::Config linkTo(const Uuid& uuid) {
    LinksComponent::Config config;
    config.target.setUuid(uuid);
    return config;
}

class Links : public CreationFixture {
protected:
    Links() {
        PrefabBuilder inner;
        inner.root(id(1), "inner root").child(id(2), "inner child", id(1));
        inner.child(id(3), "links to the root", id(1)).with<LinksComponent>(linkTo(id(1)));
        inner.child(id(4), "links to the child", id(1)).with<LinksComponent>(linkTo(id(2)));
        cachePrefab("inner.prefab", inner);
    }

    /// Name of the object that the link `target` of an object's LinksComponent refers to; empty if there is none.
    [[nodiscard]] std::string targetOf(const std::string& name) const {
        return manager().getGameObjectName(configOf<LinksComponent>(name).target.target());
    }
};

// Inside one prefab.

TEST_F(Links, toEarlierAndLaterNodes_areResolved) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<LinksComponent>(linkTo(id(3)));
    builder.child(id(2), "Middle", id(1)).with<LinksComponent>(linkTo(id(1)));
    builder.child(id(3), "Last", id(1)).with<LinksComponent>(linkTo(id(3)));
    create(builder);
    EXPECT_EQ(targetOf("Root"), "Last");
    EXPECT_EQ(targetOf("Middle"), "Root");
    EXPECT_EQ(targetOf("Last"), "Last");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, inStructuresAndVectors_areResolved) {
    LinksComponent::Config links;
    links.wire.end.setUuid(id(1));
    links.cable.wire.end.setUuid(id(2));
    links.targets = {GameObjectLink(id(2)), GameObjectLink(), GameObjectLink(id(1))};
    links.wires = {{GameObjectLink(id(2)), "red"}};
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<LinksComponent>(links).child(id(2), "Child", id(1));
    const std::vector<GameObject> created = create(builder);
    const LinksComponent::Config live = configOf<LinksComponent>("Root");
    EXPECT_EQ(live.wire.end.target(), created[0]);
    EXPECT_EQ(live.cable.wire.end.target(), created[1]);
    ASSERT_EQ(live.targets.size(), 3U);
    EXPECT_EQ(live.targets[0].target(), created[1]);
    EXPECT_TRUE(live.targets[1].target().isInvalid());
    EXPECT_EQ(live.targets[2].target(), created[0]);
    EXPECT_EQ(live.wires.at(0).end.target(), created[1]);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, toNothing_isAWarningAndTheOtherLinksAreResolved) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<LinksComponent>(linkTo(id(99))).child(id(2), "Child", id(1));
    EXPECT_EQ(create(builder).size(), 2U);
    EXPECT_TRUE(configOf<LinksComponent>("Root").target.target().isInvalid());
    EXPECT_THAT(logged(), ElementsAre(unresolved("Root", "LinksComponent", id(99))));
}

TEST_F(Links, ofTwoInstances_stayInTheirOwn) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<LinksComponent>(linkTo(id(2))).child(id(2), "Child", id(1));
    const std::vector<GameObject> first = create(builder);
    GameObjectPrefab::CreateConfig other = makeConfig(id(77));
    const std::vector<GameObject> second = builder.build().createGameObjects(other);
    EXPECT_EQ(find<LinksComponent>(first[0])->config.target.target(), first[1]);
    EXPECT_EQ(find<LinksComponent>(second[0])->config.target.target(), second[1]);
}

TEST_F(Links, overriddenLink_isResolved) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<LinksComponent>(linkTo(id(1))).child(id(2), "Child", id(1));
    setOverrides(OverridesText().record(id(1), "LinksComponent", element("target", id(2).toString())));
    create(builder);
    EXPECT_EQ(targetOf("Root"), "Child");
}

// Across nested prefabs.

TEST_F(Links, toALaterIntegrationPoint_isTheMergedObject) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<LinksComponent>(linkTo(id(5)));
    builder.nested(id(5), "Point", id(1), "inner.prefab");
    create(builder);
    EXPECT_EQ(targetOf("Root"), "Point");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, toAnEarlierIntegrationPoint_isTheMergedObject) {
    PrefabBuilder builder;
    builder.nested(id(5), "Point", id(1), "inner.prefab").root(id(1), "Root");
    builder.child(id(6), "Last", id(1)).with<LinksComponent>(linkTo(id(5)));
    create(builder);
    EXPECT_EQ(targetOf("Last"), "Point");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, parentThatIsAnIntegrationPoint_isFoundInAnyNodeOrder) {
    PrefabBuilder builder;
    builder.child(id(6), "Before", id(5)).nested(id(5), "Point", id(1), "inner.prefab").root(id(1), "Root");
    builder.child(id(7), "After", id(5));
    create(builder);
    EXPECT_EQ(parentOf("Before"), "Point");
    EXPECT_EQ(parentOf("After"), "Point");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, toAnIntegrationPoint_areResolvedWhenAComponentHasCreatedAnotherPrefabMeanwhile) {
    PrefabBuilder nestedElsewhere;
    nestedElsewhere.root(id(21), "other inner root");
    cachePrefab("elsewhere.prefab", nestedElsewhere);
    PrefabBuilder other;
    other.root(id(1), "Other").nested(id(2), "Other point", id(1), "elsewhere.prefab");
    HookComponent::onConstruct = [&](const HookComponent::Config&) {
        GameObjectPrefab::CreateConfig otherConfig = makeConfig(id(77));
        EXPECT_EQ(other.build().createGameObjects(otherConfig).size(), 2U);
    };
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<HookComponent>({"creates"}).nested(id(5), "Point", id(1), "inner.prefab");
    builder.child(id(6), "Child", id(5));
    create(builder);
    EXPECT_EQ(parentOf("Child"), "Point");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, integrationPointBelowAnIntegrationPoint_isPlacedThere) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(5), "Upper", id(1), "inner.prefab");
    builder.nested(id(6), "Lower", id(5), "inner.prefab");
    create(builder);
    EXPECT_EQ(parentOf("Lower"), "Upper");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, integrationPointBelowALaterOne_isPlacedThere) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(6), "Lower", id(5), "inner.prefab");
    builder.nested(id(5), "Upper", id(1), "inner.prefab");
    create(builder);
    EXPECT_EQ(parentOf("Lower"), "Upper");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, fromInsideANestedPrefab_stayInItsInstance) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "Outer child", id(1)).nested(id(5), "Point", id(1), "inner.prefab");
    create(builder);
    EXPECT_EQ(targetOf("links to the root"), "Point");
    EXPECT_EQ(targetOf("links to the child"), "inner child");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, toAnObjectInsideANestedPrefab_areResolvedByTheCombinedUuid) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<LinksComponent>(linkTo(Uuid::combine(id(5), id(2))));
    builder.nested(id(5), "Point", id(1), "inner.prefab");
    create(builder);
    EXPECT_EQ(targetOf("Root"), "inner child");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, toAnObjectTwoLevelsDeep_areResolvedByTheCombinedUuid) {
    PrefabBuilder middle;
    middle.root(id(1), "middle root").nested(id(8), "middle point", id(1), "inner.prefab");
    cachePrefab("middle.prefab", middle);
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<LinksComponent>(linkTo(Uuid::combine(id(5), Uuid::combine(id(8), id(2)))));
    builder.nested(id(5), "Point", id(1), "middle.prefab");
    create(builder);
    EXPECT_EQ(targetOf("Root"), "inner child");
}

TEST_F(Links, toAnIntegrationPointInsideANestedPrefab_isTheMergedObject) {
    PrefabBuilder middle;
    middle.root(id(1), "middle root").nested(id(8), "middle point", id(1), "inner.prefab");
    cachePrefab("middle.prefab", middle);
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<LinksComponent>(linkTo(Uuid::combine(id(5), id(8))));
    builder.nested(id(5), "Point", id(1), "middle.prefab");
    create(builder);
    EXPECT_EQ(targetOf("Root"), "middle point");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, objectPlacedInsideANestedPrefab_isAttachedThere) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(6), "Guest", Uuid::combine(id(5), id(2)));
    builder.nested(id(5), "Point", id(1), "inner.prefab");
    create(builder);
    EXPECT_EQ(parentOf("Guest"), "inner child");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, ofAComponentOfTheIntegrationPoint_areThoseOfTheNestedInstance) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(9), "Outer child", id(1));
    builder.nested(id(5), "Point", id(1), "inner.prefab").with<LinksComponent>(linkTo(id(2)));
    create(builder);
    EXPECT_EQ(targetOf("Point"), "inner child");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Links, ofTwoInstancesOfANestedPrefab_stayInTheirOwn) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(5), "One", id(1), "inner.prefab").nested(id(6), "Two", id(1), "inner.prefab");
    const std::vector<GameObject> created = create(builder);
    ASSERT_EQ(created.size(), 9U);
    EXPECT_EQ(find<LinksComponent>(created[3])->config.target.target(), created[1]);
    EXPECT_EQ(find<LinksComponent>(created[7])->config.target.target(), created[5]);
}

TEST_F(Links, afterwards_theDescriptorsUuidsAreAsBefore) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<LinksComponent>(linkTo(id(1)));
    create(builder);
    const auto& descriptor = findDescriptor<LinksComponent>(builder.last());
    EXPECT_FALSE(descriptor.isOffPrefabProperties());
    EXPECT_EQ(descriptor.prefabProperties().target.uuid(), id(1));
    EXPECT_FALSE(descriptor.prefabProperties().target.isLiveUuid());
}

} // namespace
} // namespace Kiln::TestSupport
