#include <tessel_asset_loading/support/creation_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectPrefab;
using Tessel::PrefabComponent;
using Tessel::TransformComponent;
using testing::ElementsAre;
using testing::IsEmpty;

[[nodiscard]] std::string tagRecord(const Uuid& object, const std::string& tag) {
    return OverridesText().record(object, "TagComponent", element("tag", tag)).text();
}

// Records of the instance itself.

class Overrides : public CreationFixture {
protected:
    Overrides() {
        builder.root(id(1), "Root").with<TagComponent>({"own", "note"});
        builder.child(id(2), "Child", id(1)).with<TagComponent>({"own", "note"});
    }

    PrefabBuilder builder; // Two nodes with a TagComponent.
};

TEST_F(Overrides, none_leaveThePrefabsOwnValues) {
    create(builder);
    EXPECT_EQ(tagOf("Root"), "own");
    EXPECT_EQ(tagOf("Child"), "own");
}

TEST_F(Overrides, record_reachesTheObjectOfItsUuidAndOnlyItsProperties) {
    setOverrides(OverridesText().record(id(2), "TagComponent", element("tag", "over")));
    create(builder);
    EXPECT_EQ(tagOf("Root"), "own");
    EXPECT_EQ(tagOf("Child"), "over");
    EXPECT_EQ(configOf<TagComponent>("Child").note, "note");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Overrides, record_isKeyedByTheDescriptorsUuid) {
    setOverrides(OverridesText().record(Uuid::combine(INSTANCE, id(2)), "TagComponent", element("tag", "over")));
    create(builder);
    EXPECT_EQ(tagOf("Child"), "own");
}

TEST_F(Overrides, afterwards_descriptorsAreBackAtThePrefabsOwnValues) {
    setOverrides(OverridesText().record(id(2), "TagComponent", element("tag", "over")));
    create(builder);
    EXPECT_FALSE(findDescriptor<TagComponent>(builder.last()).isOffPrefabProperties());
    EXPECT_EQ(findDescriptor<TagComponent>(builder.last()).config().tag, "own");
}

TEST_F(Overrides, laterInstanceWithoutThem_hasThePrefabsOwnValues) {
    setOverrides(OverridesText().record(id(2), "TagComponent", element("tag", "over")));
    create(builder);
    GameObjectPrefab::CreateConfig other = makeConfig(id(77));
    const std::vector<GameObject> second = builder.build().createGameObjects(other);
    EXPECT_EQ(find<TagComponent>(second[1])->config.tag, "own");
}

// The zero UUID.

TEST_F(Overrides, zeroUuid_addressesTheRoot) {
    setOverrides(OverridesText().record(Uuid::ZERO, "TagComponent", element("tag", "over")));
    create(builder);
    EXPECT_EQ(tagOf("Root"), "over");
    EXPECT_EQ(tagOf("Child"), "own");
}

TEST_F(Overrides, zeroUuid_givesWayToARecordOfTheRoot) {
    setOverrides(OverridesText()
                     .record(Uuid::ZERO, "TagComponent", element("tag", "zero") + element("note", "zero"))
                     .record(id(1), "TagComponent", element("tag", "over")));
    create(builder);
    EXPECT_EQ(tagOf("Root"), "over");
    EXPECT_EQ(configOf<TagComponent>("Root").note, "note");
}

TEST_F(Overrides, zeroUuid_givesWayEvenToARecordOfAnotherComponent) {
    setOverrides(OverridesText()
                     .record(Uuid::ZERO, "TagComponent", element("tag", "zero"))
                     .record(id(1), "ValuesComponent", element("text", "unrelated")));
    create(builder);
    EXPECT_EQ(tagOf("Root"), "own");
}

TEST_F(Overrides, zeroUuid_addressesTheFirstItemEvenIfThatIsNotTheRoot) {
    PrefabBuilder reversed;
    reversed.child(id(2), "Child", id(1)).with<TagComponent>().root(id(1), "Root").with<TagComponent>();
    setOverrides(OverridesText().record(Uuid::ZERO, "TagComponent", element("tag", "over")));
    create(reversed);
    EXPECT_EQ(tagOf("Child"), "over");
    EXPECT_EQ(tagOf("Root"), "");
}

TEST_F(Overrides, zeroUuid_inTheRecordsOfANestedInstance_addressesNothing) {
    cachePrefab("inner.prefab", PrefabBuilder().root(id(1), "inner").with<TagComponent>({"own", {}}));
    builder.nested(id(3), "Inner", id(1), "inner.prefab", tagRecord(Uuid::ZERO, "over"));
    create(builder);
    EXPECT_EQ(tagOf("Inner"), "own");
}

// Overrides of nested instances.

class NestedOverrides : public CreationFixture {
protected:
    NestedOverrides() {
        PrefabBuilder inner;
        inner.root(id(11), "inner root").with<TagComponent>({"own", "note"});
        inner.child(id(12), "inner child", id(11)).with<TagComponent>({"own", "note"});
        cachePrefab("inner.prefab", inner);
        cachePrefab("other.prefab", PrefabBuilder().root(id(21), "other root").with<TagComponent>({"other", {}}));
        outer.root(id(1), "Outer");
    }

    /// Outer overrides of the PrefabComponent of node 2.
    void overridePoint(const std::string& properties) {
        setOverrides(OverridesText().record(id(2), "PrefabComponent", properties));
    }

    [[nodiscard]] const PrefabComponent& livePrefabComponent(const std::string& name) const {
        return *find<PrefabComponent>(object(name));
    }

    PrefabBuilder outer;
};

TEST_F(NestedOverrides, ofTheIntegrationPoint_reachTheNestedObjects) {
    const std::string data = OverridesText()
                                 .record(id(11), "TagComponent", element("tag", "root over"))
                                 .record(id(12), "TagComponent", element("tag", "child over"))
                                 .text();
    outer.nested(id(2), "Point", id(1), "inner.prefab", data);
    create(outer);
    EXPECT_EQ(tagOf("Point"), "root over");
    EXPECT_EQ(tagOf("inner child"), "child over");
    EXPECT_EQ(configOf<TagComponent>("inner child").note, "note");
    EXPECT_EQ(livePrefabComponent("Point").overridesData(), data);
    EXPECT_TRUE(livePrefabComponent("Point").hasOverrides());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedOverrides, ofTheOuterInstance_doNotReachInside) {
    outer.nested(id(2), "Point", id(1), "inner.prefab");
    setOverrides(OverridesText()
                     .record(id(12), "TagComponent", element("tag", "over"))
                     .record(id(11), "TagComponent", element("tag", "over")));
    create(outer);
    EXPECT_EQ(tagOf("Point"), "own");
    EXPECT_EQ(tagOf("inner child"), "own");
}

TEST_F(NestedOverrides, ofTheIntegrationPoint_doNotReachTheOuterInstance) {
    outer.with<TagComponent>({"own", {}}).nested(id(2), "Point", id(1), "inner.prefab", tagRecord(id(1), "over"));
    create(outer);
    EXPECT_EQ(tagOf("Outer"), "own");
}

TEST_F(NestedOverrides, outerRecordOfTheResource_nestsAnotherPrefab) {
    outer.nested(id(2), "Point", id(1), "inner.prefab");
    overridePoint(element("resource", "other.prefab"));
    EXPECT_THAT(createdNames(outer), ElementsAre("Outer", "Point"));
    EXPECT_EQ(tagOf("Point"), "other");
    EXPECT_EQ(livePrefabComponent("Point").resource(), "other.prefab");
    EXPECT_EQ(uuidOf("Point"), Uuid::combine(Uuid::combine(INSTANCE, id(2)), id(21)));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedOverrides, outerRecordOfTheResource_namesAMissingPrefab) {
    outer.nested(id(2), "Point", id(1), "inner.prefab");
    overridePoint(element("resource", "no/such.prefab"));
    EXPECT_THAT(createdNames(outer), ElementsAre("Outer"));
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found no/such.prefab"));
}

TEST_F(NestedOverrides, outerRecordOfTheResource_namesAPrefabWithoutRoot) {
    cachePrefab("rootless.prefab", PrefabBuilder().child(id(1), "stray", id(9)));
    outer.nested(id(2), "Point", id(1), "inner.prefab");
    overridePoint(element("resource", "rootless.prefab"));
    create(outer);
    EXPECT_THAT(logged(), ElementsAre("5: Failed to instantiate prefab 'rootless.prefab'\n"));
}

TEST_F(NestedOverrides, outerRecordOfTheOverridesData_reachesTheNestedObjects) {
    outer.nested(id(2), "Point", id(1), "inner.prefab");
    const std::string data = tagRecord(id(12), "from outside");
    overridePoint(element("overridesData", cdata(data)));
    create(outer);
    EXPECT_EQ(tagOf("inner child"), "from outside");
    EXPECT_EQ(livePrefabComponent("Point").overridesData(), data);
    EXPECT_EQ(livePrefabComponent("Point").resource(), "inner.prefab");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedOverrides, outerAndOwnOverridesData_areMergedAndTheOuterWins) {
    outer.nested(id(2), "Point", id(1), "inner.prefab",
                 OverridesText()
                     .record(id(11), "TagComponent", element("tag", "point"))
                     .record(id(12), "TagComponent", element("tag", "point") + element("note", "point"))
                     .text());
    overridePoint(element("overridesData", cdata(tagRecord(id(12), "outer"))));
    create(outer);
    EXPECT_EQ(tagOf("Point"), "point");
    EXPECT_EQ(tagOf("inner child"), "outer");
    EXPECT_EQ(configOf<TagComponent>("inner child").note, "point");
}

TEST_F(NestedOverrides, outerRecordEmptiesTheOverridesData_theOwnOnesStayInForce) {
    outer.nested(id(2), "Point", id(1), "inner.prefab", tagRecord(id(12), "point"));
    overridePoint(element("overridesData", ""));
    create(outer);
    EXPECT_EQ(tagOf("inner child"), "point");
    EXPECT_EQ(livePrefabComponent("Point").overridesData(), "");
}

TEST_F(NestedOverrides, ownRecordsForTheMergedPrefabComponent_winOverTheOuterOnes) {
    outer.nested(id(2), "Point", id(1), "inner.prefab",
                 OverridesText().record(id(11), "PrefabComponent", element("resource", "shown.prefab")).text());
    overridePoint(element("overridesData", cdata(tagRecord(id(12), "outer"))));
    create(outer);
    EXPECT_EQ(tagOf("inner child"), "outer");
    EXPECT_EQ(livePrefabComponent("Point").resource(), "shown.prefab");
    EXPECT_EQ(livePrefabComponent("Point").overridesData(), tagRecord(id(12), "outer"));
}

TEST_F(NestedOverrides, outerRecordForOtherComponentsOfTheIntegrationPoint_isNotInForce) {
    outer.nested(id(2), "Point", id(1), "inner.prefab").with<TransformComponent>({Matrix::translation(1, 2, 3)});
    setOverrides(
        OverridesText().record(id(2), "TransformComponent", element("local", Matrix::translation(7, 7, 7).toString())));
    create(outer);
    EXPECT_EQ(find<TransformComponent>(object("Point"))->local, Matrix::translation(1, 2, 3));
}

TEST_F(NestedOverrides, componentsOfTheIntegrationPoint_areAddressedByTheNestedRoot) {
    outer.nested(id(2), "Point", id(1), "inner.prefab",
                 OverridesText()
                     .record(id(11), "TransformComponent", element("local", Matrix::translation(7, 7, 7).toString()))
                     .text());
    outer.with<TransformComponent>({Matrix::translation(1, 2, 3)});
    create(outer);
    EXPECT_EQ(find<TransformComponent>(object("Point"))->local, Matrix::translation(7, 7, 7));
}

TEST_F(NestedOverrides, malformedOverridesData_isReportedForBothReadingsAndCreationContinues) {
    outer.nested(id(2), "Point", id(1), "inner.prefab", "<overrides>");
    EXPECT_THAT(createdNames(outer), ElementsAre("Outer", "Point", "inner child"));
    EXPECT_EQ(log.errors().size(), 2U);
}

TEST_F(NestedOverrides, afterwards_theIntegrationPointIsBackAtThePrefabsOwnValues) {
    outer.nested(id(2), "Point", id(1), "inner.prefab");
    overridePoint(element("resource", "other.prefab") + element("overridesData", "<overrides/>"));
    create(outer);
    auto& component = findDescriptor<PrefabComponent>(outer.last());
    EXPECT_FALSE(component.isOffPrefabProperties());
    EXPECT_EQ(component.prefabProperties().resource, "inner.prefab");
    EXPECT_EQ(component.prefabProperties().overridesData, "");
}

TEST_F(NestedOverrides, laterInstanceWithoutThem_nestsTheOwnPrefab) {
    outer.nested(id(2), "Point", id(1), "inner.prefab");
    overridePoint(element("resource", "other.prefab"));
    create(outer);
    GameObjectPrefab::CreateConfig other = makeConfig(id(77));
    const std::vector<GameObject> second = outer.build().createGameObjects(other);
    EXPECT_EQ(second.size(), 3U);
    EXPECT_EQ(find<PrefabComponent>(second[1])->resource(), "inner.prefab");
}

TEST_F(NestedOverrides, outerRecord_isInForceBesideAnUnusedRecordOfTheZeroUuid) {
    outer.nested(id(2), "Point", id(1), "inner.prefab", tagRecord(Uuid::ZERO, "zero"));
    overridePoint(element("overridesData", cdata(tagRecord(id(12), "outer"))));
    create(outer);
    EXPECT_EQ(livePrefabComponent("Point").overridesData(), tagRecord(id(12), "outer"));
    EXPECT_EQ(tagOf("Point"), "own");
}

// The first item can be an integration point.

TEST_F(NestedOverrides, zeroUuid_ofAnIntegrationPointThatIsFirst_addressesIt) {
    PrefabBuilder reversed;
    reversed.nested(id(2), "Point", id(1), "inner.prefab", tagRecord(Uuid::ZERO, "zero")).root(id(1), "Outer");
    create(reversed);
    EXPECT_EQ(tagOf("Point"), "zero");
}

TEST_F(NestedOverrides, zeroUuid_ofAnIntegrationPointThatIsFirst_addressesItBesideOuterRecords) {
    PrefabBuilder reversed;
    reversed.nested(id(2), "Point", id(1), "inner.prefab", tagRecord(Uuid::ZERO, "zero")).root(id(1), "Outer");
    overridePoint(element("overridesData", cdata(tagRecord(id(12), "outer"))));
    create(reversed);
    EXPECT_EQ(tagOf("inner child"), "outer");
    EXPECT_EQ(tagOf("Point"), "zero");
    EXPECT_EQ(livePrefabComponent("Point").overridesData(), tagRecord(id(12), "outer"));
}

TEST_F(NestedOverrides, outerRecord_isInForceWhereTheFirstItemHasRecordsOfItsUuidAndOfTheZeroUuid) {
    PrefabBuilder reversed;
    reversed.nested(id(2), "Point", id(1), "inner.prefab",
                    OverridesText()
                        .record(Uuid::ZERO, "TagComponent", element("tag", "zero"))
                        .record(id(11), "TagComponent", element("tag", "point"))
                        .text());
    reversed.root(id(1), "Outer");
    overridePoint(element("overridesData", cdata(tagRecord(id(12), "outer"))));
    create(reversed);
    EXPECT_EQ(tagOf("Point"), "point");
    EXPECT_EQ(livePrefabComponent("Point").overridesData(), tagRecord(id(12), "outer"));
}

// Several instances of a prefab that has an integration point: its texts are parsed once.

class OverridesOfSeveralInstances : public NestedOverrides {
protected:
    /// Three instances of a prefab whose integration point has these overrides.
    void createThree(const std::string& data) {
        cachePrefab("middle.prefab",
                    PrefabBuilder().root(id(31), "middle root").nested(id(32), "Point", id(31), "inner.prefab", data));
        for (const unsigned number : {2U, 3U, 4U}) {
            outer.nested(id(number), "Middle", id(1), "middle.prefab");
        }
        create(outer);
    }

    [[nodiscard]] std::vector<std::string> tagsOf(const std::string& name) const {
        std::vector<std::string> tags;
        for (const GameObject object : manager().gameObjects()) {
            if (manager().getGameObjectName(object) == name) {
                tags.push_back(find<TagComponent>(object)->config.tag);
            }
        }
        return tags;
    }
};

TEST_F(OverridesOfSeveralInstances, ofTheIntegrationPoint_reachAllInstances) {
    createThree(tagRecord(id(12), "over"));
    EXPECT_THAT(tagsOf("inner child"), ElementsAre("over", "over", "over"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(OverridesOfSeveralInstances, malformedOverridesData_isReportedForBothReadingsOfEachInstance) {
    createThree("<overrides>");
    EXPECT_EQ(log.errors().size(), 6U);
    EXPECT_THAT(tagsOf("inner child"), ElementsAre("own", "own", "own"));
}

TEST_F(OverridesOfSeveralInstances, malformedRecord_isReportedForBothReadingsOfEachInstanceAndTheOthersApply) {
    createThree("<overrides><gameObject><uuid>12</uuid></gameObject>" +
                tagRecord(id(12), "over").substr(std::string_view("<overrides>").size()));
    const std::string message = "5: Override data, line 1: '12' is not a UUID; the record is skipped";
    EXPECT_THAT(logged(), ElementsAre(message, message, message, message, message, message));
    EXPECT_THAT(tagsOf("inner child"), ElementsAre("over", "over", "over"));
}

TEST_F(OverridesOfSeveralInstances, unknownProperty_isReportedForBothReadingsOfEachInstance) {
    createThree(OverridesText().record(id(12), "TagComponent", element("colour", "red")).text());
    EXPECT_EQ(logged().size(), 6U);
}

TEST_F(OverridesOfSeveralInstances, outerRecordOfOneOfThem_reachesThatOneOnly) {
    const std::string data =
        OverridesText()
            .record(id(32), "PrefabComponent", element("overridesData", cdata(tagRecord(id(12), "outer"))))
            .text();
    outer.nested(id(5), "Overridden", id(1), "middle.prefab", data);
    createThree(tagRecord(id(12), "point"));
    EXPECT_THAT(tagsOf("inner child"), ElementsAre("outer", "point", "point", "point"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(OverridesOfSeveralInstances, sameOuterRecordForAll_reachesAll) {
    // The outermost prefab nests three instances of one whose point overrides a point inside.
    const std::string data =
        OverridesText()
            .record(id(32), "PrefabComponent",
                    element("overridesData", cdata(tagRecord(id(12), "outer"))) + element("colour", "red"))
            .text();
    cachePrefab("holder.prefab",
                PrefabBuilder().root(id(41), "holder root").nested(id(42), "Held", id(41), "middle.prefab", data));
    cachePrefab("middle.prefab", PrefabBuilder()
                                     .root(id(31), "middle root")
                                     .nested(id(32), "Point", id(31), "inner.prefab", tagRecord(id(11), "point")));
    for (const unsigned number : {2U, 3U, 4U}) {
        outer.nested(id(number), "Holder", id(1), "holder.prefab");
    }
    create(outer);
    EXPECT_THAT(tagsOf("inner child"), ElementsAre("outer", "outer", "outer"));
    EXPECT_THAT(tagsOf("Point"), ElementsAre("point", "point", "point"));
    // Both readings of the holder's data have the unknown property. It is reported when the point is gathered and when
    // its component is created.
    EXPECT_EQ(logged().size(), 12U);
}

} // namespace
} // namespace Kiln::TestSupport
