#include <tessel_asset_loading/support/creation_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;
using Tessel::HierarchyComponent;
using Tessel::PrefabComponent;
using testing::ElementsAre;
using testing::IsEmpty;

/// Results list the root first and then the items in the order in which they were gathered.
class Gathering : public CreationFixture {
protected:
    Gathering() {
        PrefabBuilder leaf;
        leaf.root(id(1), "leaf root").child(id(2), "leaf child", id(1));
        cachePrefab("leaf.prefab", leaf);
        PrefabBuilder branch;
        branch.root(id(1), "branch root").child(id(2), "branch first", id(1));
        branch.nested(id(3), "leaf", id(2), "leaf.prefab").child(id(4), "branch last", id(1));
        cachePrefab("branch.prefab", branch);
    }
};

TEST_F(Gathering, order_nestedObjectsFollowTheirIntegrationPoint) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "Before", id(1));
    builder.nested(id(3), "Leaf", id(1), "leaf.prefab").child(id(4), "After", id(1));
    EXPECT_THAT(createdNames(builder), ElementsAre("Root", "Before", "Leaf", "leaf child", "After"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Gathering, order_isPreOrderThroughAllLevels) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "Branch", id(1), "branch.prefab").child(id(3), "After", id(1));
    EXPECT_THAT(createdNames(builder),
                ElementsAre("Root", "Branch", "branch first", "leaf", "leaf child", "branch last", "After"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Gathering, order_integrationPointBeforeTheRoot) {
    PrefabBuilder builder;
    builder.nested(id(2), "Leaf", id(1), "leaf.prefab").root(id(1), "Root");
    EXPECT_THAT(createdNames(builder), ElementsAre("Root", "Leaf", "leaf child"));
    EXPECT_EQ(parentOf("Leaf"), "Root");
}

TEST_F(Gathering, hierarchy_spansAllLevels) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "Branch", id(1), "branch.prefab");
    create(builder);
    EXPECT_EQ(parentOf("Branch"), "Root");
    EXPECT_EQ(parentOf("branch first"), "Branch");
    EXPECT_EQ(parentOf("leaf"), "branch first");
    EXPECT_EQ(parentOf("leaf child"), "leaf");
    EXPECT_EQ(parentOf("branch last"), "Branch");
}

TEST_F(Gathering, uuids_areThoseOfTheNestedInstances) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "Branch", id(1), "branch.prefab").child(id(3), "After", id(1));
    create(builder);
    const Uuid branch = Uuid::combine(INSTANCE, id(2));
    const Uuid leaf = Uuid::combine(branch, id(3));
    EXPECT_EQ(uuidOf("Root"), Uuid::combine(INSTANCE, id(1)));
    EXPECT_EQ(uuidOf("Branch"), Uuid::combine(branch, id(1)));
    EXPECT_EQ(uuidOf("branch first"), Uuid::combine(branch, id(2)));
    EXPECT_EQ(uuidOf("leaf"), Uuid::combine(leaf, id(1)));
    EXPECT_EQ(uuidOf("leaf child"), Uuid::combine(leaf, id(2)));
    EXPECT_EQ(uuidOf("branch last"), Uuid::combine(branch, id(4)));
    EXPECT_EQ(uuidOf("After"), Uuid::combine(INSTANCE, id(3)));
}

TEST_F(Gathering, samePrefabTwice_givesTwoInstances) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "One", id(1), "leaf.prefab").nested(id(3), "Two", id(1), "leaf.prefab");
    const std::vector<Tessel::GameObject> created = create(builder);
    EXPECT_THAT(namesOf(manager(), created), ElementsAre("Root", "One", "leaf child", "Two", "leaf child"));
    EXPECT_EQ(parentNameOf(manager(), created[2]), "One");
    EXPECT_EQ(parentNameOf(manager(), created[4]), "Two");
    EXPECT_EQ(manager().getGameObjectUuid(created[4]), Uuid::combine(Uuid::combine(INSTANCE, id(3)), id(2)));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Gathering, pointsOfTwoParentsInTurn_areBelowTheirOwn) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "Other", id(1));
    builder.nested(id(3), "A", id(1), "leaf.prefab").nested(id(4), "B", id(2), "leaf.prefab");
    builder.nested(id(5), "C", id(1), "leaf.prefab").nested(id(6), "D", id(2), "leaf.prefab");
    create(builder);
    EXPECT_EQ(parentOf("A"), "Root");
    EXPECT_EQ(parentOf("B"), "Other");
    EXPECT_EQ(parentOf("C"), "Root");
    EXPECT_EQ(parentOf("D"), "Other");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Gathering, nestedPrefabIsReadFromItsFileWhenItIsNotCached) {
    PrefabText document;
    document.root(id(1), "file root");
    document.child(id(2), "file child", id(1));
    writePrefab("file.prefab", document);
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "File", id(1), "file.prefab");
    EXPECT_THAT(createdNames(builder), ElementsAre("Root", "File", "file child"));
    EXPECT_THAT(logged(), IsEmpty());
}

// Several roots in a nested prefab.

TEST_F(Gathering, nestedPrefabWithSeveralRoots_theFirstIsMergedAndTheOthersLeaveNoTrace) {
    PrefabBuilder inner;
    inner.child(id(5), "child", id(1)).root(id(1), "first root").with<TagComponent>({"first", {}});
    inner.root(id(2), "second root").with<HookComponent>({"second"});
    cachePrefab("roots.prefab", inner);
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "Nested", id(1), "roots.prefab");
    EXPECT_THAT(createdNames(builder), ElementsAre("Root", "Nested", "child"));
    EXPECT_EQ(tagOf("Nested"), "first");
    EXPECT_EQ(find<HookComponent>(object("Nested")), nullptr);
    EXPECT_EQ(parentOf("child"), "Nested");
    EXPECT_EQ(uuidOf("Nested"), Uuid::combine(Uuid::combine(INSTANCE, id(2)), id(1)));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Gathering, childOfASecondRootOfANestedPrefab_isMadeWithoutParent) {
    PrefabBuilder inner;
    inner.root(id(1), "first root").root(id(2), "second root").child(id(3), "orphan", id(2));
    cachePrefab("roots.prefab", inner);
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "Nested", id(1), "roots.prefab");
    EXPECT_THAT(createdNames(builder), ElementsAre("Root", "Nested", "orphan"));
    EXPECT_EQ(parentOf("orphan"), "");
    EXPECT_THAT(logged(), ElementsAre(unresolved("orphan", "HierarchyComponent", id(2))));
}

// Integration points that are dropped.

TEST_F(Gathering, nestedPrefabIsMissing_theNodeIsDroppedAndItsChildrenStay) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "Gone", id(1), "no/such.prefab");
    builder.child(id(3), "Left", id(2)).child(id(4), "After", id(1));
    EXPECT_THAT(createdNames(builder), ElementsAre("Root", "Left", "After"));
    EXPECT_EQ(parentOf("Left"), "");
    EXPECT_EQ(parentOf("After"), "Root");
    EXPECT_THAT(logged(),
                ElementsAre("5: Prefab not found no/such.prefab", unresolved("Left", "HierarchyComponent", id(2))));
}

TEST_F(Gathering, nestedPrefabHasNoRoot_isReportedAndItsChildrenStay) {
    cachePrefab("rootless.prefab", PrefabBuilder().child(id(1), "inner", id(9)));
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "Gone", id(1), "rootless.prefab").child(id(3), "Left", id(2));
    EXPECT_THAT(createdNames(builder), ElementsAre("Root", "Left"));
    EXPECT_THAT(logged(), ElementsAre("5: Failed to instantiate prefab 'rootless.prefab'\n",
                                      unresolved("Left", "HierarchyComponent", id(2))));
}

TEST_F(Gathering, nestedPrefabIsEmpty_isReported) {
    directory.writeFile("empty.prefab", PrefabText().text());
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "Gone", id(1), "empty.prefab");
    EXPECT_THAT(createdNames(builder), ElementsAre("Root"));
    EXPECT_THAT(logged(), ElementsAre("5: Failed to instantiate prefab 'empty.prefab'\n"));
}

TEST_F(Gathering, integrationPointWithoutResource_isDropped) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "Gone", id(1), "");
    EXPECT_THAT(createdNames(builder), ElementsAre("Root"));
}

TEST_F(Gathering, integrationPointIsDroppedInANestedPrefab_theOthersStay) {
    PrefabBuilder inner;
    inner.root(id(1), "inner").nested(id(2), "gone", id(1), "no/such.prefab").child(id(3), "inner child", id(1));
    cachePrefab("inner.prefab", inner);
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "Inner", id(1), "inner.prefab").child(id(3), "After", id(1));
    EXPECT_THAT(createdNames(builder), ElementsAre("Root", "Inner", "inner child", "After"));
}

// Config::hasOverrides of the shared descriptors.

class HasOverrides : public CreationFixture {
protected:
    HasOverrides() {
        inner.root(id(1), "inner");
        cachePrefab("inner.prefab", inner);
    }

    /// The flag of the outer prefab's integration point after a creation with these overrides.
    [[nodiscard]] bool afterCreation(bool before, SmartPointer<OverrideRecords> overrides) {
        PrefabBuilder outer;
        outer.root(id(1), "Root").nested(id(2), "Inner", id(1), "inner.prefab");
        auto& component = findDescriptor<PrefabComponent>(outer.last());
        component.setState(&PrefabComponent::Config::hasOverrides, before);
        config.overrides = std::move(overrides);
        create(outer);
        EXPECT_FALSE(component.isOffPrefabProperties());
        return component.prefabProperties().hasOverrides;
    }

    PrefabBuilder inner;
    SmartPointer<OverrideRecords> some =
        OverrideRecords::create(OverridesText().record(id(50), "TagComponent", element("tag", "unrelated")).text());
};

TEST_F(HasOverrides, withOverridesInForce_isSet) {
    EXPECT_TRUE(afterCreation(false, some));
}

TEST_F(HasOverrides, withoutOverrides_isCleared) {
    EXPECT_FALSE(afterCreation(true, nullptr));
}

TEST_F(HasOverrides, withEmptyOverrides_isCleared) {
    EXPECT_FALSE(afterCreation(true, OverrideRecords::create(OverridesText().text())));
}

TEST_F(HasOverrides, ofTheLiveComponent_followsTheDescriptor) {
    EXPECT_TRUE(afterCreation(false, some));
    EXPECT_TRUE(find<PrefabComponent>(object("Inner"))->hasOverrides());
}

TEST_F(HasOverrides, ofARootWithPrefabComponent_isAssignedToo) {
    PrefabBuilder outer;
    outer.root(id(1), "Root").with<PrefabComponent>({"self.prefab", {}});
    config.overrides = some;
    create(outer);
    EXPECT_TRUE(findDescriptor<PrefabComponent>(outer.last()).prefabProperties().hasOverrides);
    EXPECT_TRUE(find<PrefabComponent>(object("Root"))->hasOverrides());
}

TEST_F(HasOverrides, ofASkippedNestedRoot_isNotTouched) {
    inner.with<PrefabComponent>({"inner.prefab", {}, true});
    EXPECT_FALSE(afterCreation(true, nullptr));
    EXPECT_TRUE(findDescriptor<PrefabComponent>(inner.last()).prefabProperties().hasOverrides);
}

TEST_F(HasOverrides, ofADescriptorThatTwoInstancesShare_isThatOfTheLastVisit) {
    PrefabBuilder middle;
    middle.root(id(1), "middle").nested(id(2), "inner", id(1), "inner.prefab");
    auto& shared = findDescriptor<PrefabComponent>(middle.last());
    cachePrefab("middle.prefab", middle);
    const std::string data = OverridesText().record(id(50), "TagComponent", element("tag", "unrelated")).text();
    for (const bool isLastOverridden : {false, true}) {
        PrefabBuilder outer;
        outer.root(id(1)).nested(id(2), "", id(1), "middle.prefab", isLastOverridden ? "" : data);
        outer.nested(id(3), "", id(1), "middle.prefab", isLastOverridden ? data : "");
        GameObjectPrefab::CreateConfig own = makeConfig(Uuid::generate());
        const std::vector<Tessel::GameObject> created = outer.build().createGameObjects(own);
        ASSERT_EQ(created.size(), 5U);
        EXPECT_EQ(shared.prefabProperties().hasOverrides, isLastOverridden);
        EXPECT_EQ(find<PrefabComponent>(created[2])->hasOverrides(), isLastOverridden);
        EXPECT_EQ(find<PrefabComponent>(created[4])->hasOverrides(), isLastOverridden);
    }
}

TEST_F(HasOverrides, deeperInside_dependsOnTheRecordsOfTheNestedInstance) {
    PrefabBuilder middle;
    middle.root(id(1), "middle").nested(id(2), "inner", id(1), "inner.prefab");
    auto& deep = findDescriptor<PrefabComponent>(middle.last());
    cachePrefab("middle.prefab", middle);
    PrefabBuilder outer;
    outer.root(id(1), "Root").nested(id(2), "Middle", id(1), "middle.prefab");
    config.overrides = some; // For the outer instance, not for the middle one.
    create(outer);
    EXPECT_TRUE(findDescriptor<PrefabComponent>(outer.last()).prefabProperties().hasOverrides);
    EXPECT_FALSE(deep.prefabProperties().hasOverrides);
}

TEST_F(HasOverrides, deeperInside_isNotSetByTheOuterRecordOfTheIntegrationPoint) {
    PrefabBuilder middle;
    middle.root(id(1), "middle").nested(id(2), "inner", id(1), "inner.prefab");
    auto& deep = findDescriptor<PrefabComponent>(middle.last());
    cachePrefab("middle.prefab", middle);
    PrefabBuilder outer;
    outer.root(id(1), "Root").nested(id(2), "Middle", id(1), "elsewhere.prefab", "<overrides/>");
    setOverrides(OverridesText().record(id(2), "PrefabComponent", element("resource", "middle.prefab")));
    create(outer);
    ASSERT_FALSE(object("inner").isInvalid());
    EXPECT_FALSE(deep.prefabProperties().hasOverrides);
}

TEST_F(HasOverrides, ofAnIntegrationPointThatIsDropped_isAssignedToo) {
    PrefabBuilder outer;
    outer.root(id(1), "Root").nested(id(2), "Gone", id(1), "no/such.prefab");
    config.overrides = some;
    EXPECT_THAT(createdNames(outer), ElementsAre("Root"));
    EXPECT_TRUE(findDescriptor<PrefabComponent>(outer.last()).prefabProperties().hasOverrides);
}

// The records themselves.

TEST_F(HasOverrides, recordsInForce_areReleasedWhetherGatheringSucceedsOrNot) {
    PrefabBuilder endless;
    endless.root(id(1), "Endless").nested(id(2), "Again", id(1), "endless.prefab");
    cachePrefab("endless.prefab", endless);
    ASSERT_EQ(some->refCount(), 1U);
    EXPECT_TRUE(afterCreation(false, some));
    EXPECT_THAT(create(endless), IsFailure());
    config.overrides = nullptr;
    EXPECT_EQ(some->refCount(), 1U);
}

} // namespace
} // namespace Kiln::TestSupport
