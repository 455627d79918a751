#include <tessel_asset_loading/support/creation_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::HierarchyComponent;
using Tessel::NativeComponent;
using Tessel::PrefabComponent;
using Tessel::TransformComponent;
using testing::ElementsAre;
using testing::IsEmpty;

/// Creates "Outer", which nests `inner` at the integration point "Point".
class Merging : public CreationFixture {
protected:
    Merging() {
        inner.root(id(11), "inner root", 0x06);
        outer.root(id(1), "Outer").nested(id(2), "Point", id(1), "inner.prefab", {}, 0x14);
        point = outer.build().getGameObject(1);
        innerRoot = inner.build().getGameObject(0);
    }

    void createAll() {
        cachePrefab("inner.prefab", inner);
        create(outer);
        ASSERT_FALSE(object("Point").isInvalid());
    }

    PrefabBuilder inner; // Add components of the nested root before anything else.
    PrefabBuilder outer;
    SmartPointer<GameObjectDescriptor> point;
    SmartPointer<GameObjectDescriptor> innerRoot;
};

TEST_F(Merging, name_isThatOfTheIntegrationPoint) {
    createAll();
    EXPECT_TRUE(object("inner root").isInvalid());
}

TEST_F(Merging, emptyNameOfTheIntegrationPoint_isKept) {
    point->setName("");
    cachePrefab("inner.prefab", inner);
    EXPECT_THAT(createdNames(outer), ElementsAre("Outer", ""));
}

TEST_F(Merging, uuid_isThatOfTheNestedRootInTheNestedInstance) {
    createAll();
    EXPECT_EQ(uuidOf("Point"), Uuid::combine(Uuid::combine(INSTANCE, id(2)), id(11)));
}

TEST_F(Merging, flags_areThoseOfBoth) {
    createAll();
    EXPECT_EQ(manager().getGameObjectFlags(object("Point")).to_ulong(), 0x16U);
}

TEST_F(Merging, parent_isThatOfTheIntegrationPoint) {
    createAll();
    EXPECT_EQ(parentOf("Point"), "Outer");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Merging, parentThatIsTheZeroUuid_isCombinedLikeAnyOther) {
    cachePrefab("inner.prefab", inner);
    PrefabBuilder builder;
    builder.root(id(1), "Outer").nested(id(2), "Point", Uuid::ZERO, "inner.prefab");
    create(builder);
    EXPECT_EQ(parentOf("Point"), "");
    EXPECT_THAT(logged(), ElementsAre(unresolved("Point", "HierarchyComponent", Uuid::combine(INSTANCE, Uuid::ZERO))));
}

TEST_F(Merging, integrationPointInsideANestedPrefab_hasItsParentThere) {
    PrefabBuilder middle;
    middle.root(id(1), "middle root").child(id(3), "middle child", id(1));
    middle.nested(id(2), "middle point", id(3), "inner.prefab");
    cachePrefab("inner.prefab", inner);
    cachePrefab("middle.prefab", middle);
    PrefabBuilder top;
    top.root(id(1), "Top").nested(id(3), "Middle", id(1), "middle.prefab");
    create(top);
    EXPECT_EQ(parentOf("middle point"), "middle child");
    EXPECT_THAT(logged(), IsEmpty());
}

// Components.

TEST_F(Merging, componentOfTheIntegrationPoint_winsOverThatOfTheRoot) {
    inner.with<TagComponent>({"inner", "inner note"});
    outer.with<TagComponent>({"outer", {}});
    createAll();
    EXPECT_EQ(configOf<TagComponent>("Point").tag, "outer");
    EXPECT_EQ(configOf<TagComponent>("Point").note, "");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Merging, componentThatOnlyTheRootHas_isTaken) {
    inner.with<TagComponent>({"inner", {}});
    createAll();
    EXPECT_EQ(tagOf("Point"), "inner");
}

TEST_F(Merging, transformOfTheRoot_isNeverTaken) {
    inner.with<TransformComponent>({Matrix::translation(1, 1, 1)});
    createAll();
    EXPECT_EQ(find<TransformComponent>(object("Point")), nullptr);
}

TEST_F(Merging, transformOfTheIntegrationPoint_isKept) {
    inner.with<TransformComponent>({Matrix::translation(1, 1, 1)});
    outer.with<TransformComponent>({Matrix::translation(5, 6, 7)});
    createAll();
    EXPECT_EQ(find<TransformComponent>(object("Point"))->local, Matrix::translation(5, 6, 7));
}

TEST_F(Merging, prefabComponent_isThatOfTheIntegrationPoint) {
    inner.with<PrefabComponent>({"stamped.prefab", "<overrides/>"});
    createAll();
    EXPECT_EQ(find<PrefabComponent>(object("Point"))->resource(), "inner.prefab");
    EXPECT_EQ(find<PrefabComponent>(object("Point"))->overridesData(), "");
}

TEST_F(Merging, componentTwiceOnTheRoot_isTakenOnce) {
    inner.with<TagComponent>({"first", {}}).with<TagComponent>({"second", {}});
    createAll();
    EXPECT_EQ(tagOf("Point"), "first");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Merging, componentOrder_isThatOfTheIntegrationPointThenOfTheRoot) {
    inner.with<HookComponent>().with<TagComponent>();
    outer.with<ValuesComponent>();
    createAll();
    EXPECT_THAT(manager().componentTypes(object("Point")),
                ElementsAre(NativeComponent<HierarchyComponent>::getType(), NativeComponent<PrefabComponent>::getType(),
                            NativeComponent<ValuesComponent>::getType(), NativeComponent<HookComponent>::getType(),
                            NativeComponent<TagComponent>::getType()));
}

// Descriptors are shared with the documents; only the hierarchy component is recreated.

TEST_F(Merging, componentDescriptors_areSharedAndNotCloned) {
    inner.with<HookComponent>();
    outer.with<TagComponent>();
    std::uint32_t ofThePoint = 0;
    std::uint32_t ofTheRoot = 0;
    HookComponent::onConstruct = [&](const HookComponent::Config&) {
        ofThePoint = findDescriptor<TagComponent>(*point).refCount();
        ofTheRoot = findDescriptor<HookComponent>(*innerRoot).refCount();
    };
    createAll();
    EXPECT_EQ(ofThePoint, 2U);
    EXPECT_EQ(ofTheRoot, 2U);
}

TEST_F(Merging, hierarchyDescriptor_isNotShared) {
    inner.with<HookComponent>();
    std::uint32_t references = 0;
    HookComponent::onConstruct = [&](const HookComponent::Config&) {
        references = findDescriptor<HierarchyComponent>(*point).refCount();
    };
    createAll();
    EXPECT_EQ(references, 1U);
}

TEST_F(Merging, afterwards_bothInputsAreAsBefore) {
    inner.with<TagComponent>();
    createAll();
    EXPECT_EQ(point->uuid(), id(2));
    EXPECT_EQ(point->flags().to_ulong(), 0x14U);
    EXPECT_EQ(point->components().size(), 2U);
    const HierarchyComponent::Config& hierarchy = findDescriptor<HierarchyComponent>(*point).prefabProperties();
    EXPECT_EQ(hierarchy.parent.uuid(), id(1));
    EXPECT_FALSE(hierarchy.parent.isLiveUuid());
    EXPECT_EQ(innerRoot->uuid(), id(11));
    EXPECT_EQ(innerRoot->name(), "inner root");
    EXPECT_EQ(innerRoot->flags().to_ulong(), 0x06U);
    EXPECT_EQ(innerRoot->components().size(), 1U);
    EXPECT_EQ(findDescriptor<TagComponent>(*innerRoot).refCount(), 1U);
}

TEST_F(Merging, afterwards_theDocumentsAreWrittenAsBefore) {
    inner.with<TagComponent>({"inner", {}}).child(id(12), "child", id(11)).with<LinksComponent>();
    const auto text = [](const PrefabBuilder& prefab) {
        const SmartPointer<DataSection> section = DataSection::create("prefab");
        prefab.build().serialize(section);
        return section->toText();
    };
    const std::string innerBefore = text(inner);
    const std::string outerBefore = text(outer);
    createAll();
    EXPECT_EQ(text(inner), innerBefore);
    EXPECT_EQ(text(outer), outerBefore);
}

} // namespace
} // namespace Kiln::TestSupport
