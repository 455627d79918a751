#include <tessel_asset_loading/support/document_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;
using Tessel::PrefabComponent;
using testing::ElementsAre;
using testing::IsEmpty;

using NestedPrefabs = DocumentFixture;

// Of a loaded prefab.

TEST_F(NestedPrefabs, ofAPrefab_withoutPrefabComponents_areNone) {
    EXPECT_THAT(PrefabBuilder().root(id(1)).child(id(2), "Child", id(1)).build().getNestedPrefabs(), IsEmpty());
}

TEST_F(NestedPrefabs, ofAPrefab_areInNodeOrderWithEmptyAndRepeatedOnes) {
    PrefabBuilder builder;
    builder.root(id(1)).nested(id(2), "", id(1), "b").nested(id(3), "", id(1), "").nested(id(4), "", id(1), "a");
    builder.nested(id(5), "", id(1), "b");
    EXPECT_THAT(builder.build().getNestedPrefabs(), ElementsAre("b", "", "a", "b"));
}

TEST_F(NestedPrefabs, ofAPrefabLoadedByPath_includeItsOwnPath) {
    PrefabText document;
    document.root(id(1), "Lamp");
    writePrefab("lamp.prefab", document);
    EXPECT_THAT(GameObjectPrefab::loadHierarchy("lamp.prefab", nullptr)->getNestedPrefabs(),
                ElementsAre("lamp.prefab"));
}

TEST_F(NestedPrefabs, ofAPrefab_areOneLevelDeep) {
    PrefabText inner;
    inner.root(id(1), "Inner");
    inner.nested(id(2), "Deep", id(1), "deep.prefab");
    writePrefab("inner.prefab", inner);
    PrefabBuilder builder;
    builder.root(id(1)).nested(id(2), "Inner", id(1), "inner.prefab");
    EXPECT_THAT(builder.build().getNestedPrefabs(), ElementsAre("inner.prefab"));
}

// Of a document.

TEST_F(NestedPrefabs, ofADocument_areInItemOrderWithoutEmptyOnes) {
    PrefabText document;
    document.root(id(1), "Root");
    for (const char* const resource : {"a", "", "a"}) {
        document.component("PrefabComponent", 0, PrefabText::prefabProperties(resource));
    }
    EXPECT_THAT(GameObjectPrefab::getNestedPrefabs(document.section()), ElementsAre("a", "a"));
}

TEST_F(NestedPrefabs, ofADocument_areInNoOrderButThatOfTheItems) {
    PrefabText document;
    document.root(id(1), "Root");
    document.root(id(2), "Other");
    document.component("PrefabComponent", 1, element("resource", "b"));
    document.component("PrefabComponent", 0, element("resource", "c"));
    document.component("PrefabComponent", 0, element("resource", "a"));
    EXPECT_THAT(GameObjectPrefab::getNestedPrefabs(document.section()), ElementsAre("b", "c", "a"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedPrefabs, ofADocument_itemsThatReadingWouldSkip_countAsWell) {
    PrefabText document;
    document.root(id(1), "Root");
    document.component("PrefabComponent", 0, element("resource", "a"), 0);
    EXPECT_THAT(GameObjectPrefab::getNestedPrefabs(document.section()), ElementsAre("a"));
}

TEST_F(NestedPrefabs, ofADocument_areOneLevelDeep) {
    PrefabText inner;
    inner.root(id(1), "Inner");
    inner.nested(id(2), "Deep", id(1), "deep.prefab");
    writePrefab("inner.prefab", inner);
    PrefabText document;
    document.root(id(1), "Root");
    document.nested(id(2), "Inner", id(1), "inner.prefab");
    EXPECT_THAT(GameObjectPrefab::getNestedPrefabs(document.section()), ElementsAre("inner.prefab"));
}

TEST_F(NestedPrefabs, ofADocument_poolOfAnotherCase_doesNotCount) {
    PrefabText document;
    document.component("prefabcomponent", 0, element("resource", "a"));
    EXPECT_THAT(GameObjectPrefab::getNestedPrefabs(document.section()), IsEmpty());
}

TEST_F(NestedPrefabs, ofADocument_itemsWithoutTheProperty_areLeftOut) {
    PrefabText document;
    document.component("PrefabComponent", 0, element("overridesData", "x"));
    document.item("PrefabComponent", element("gameObject", "0"));
    document.component("PrefabComponent", 0, element("resource", "a"));
    EXPECT_THAT(GameObjectPrefab::getNestedPrefabs(document.section()), ElementsAre("a"));
}

TEST_F(NestedPrefabs, ofADocument_indicesAndVersionsAreNotChecked) {
    PrefabText document;
    document.formatVersion(99).withoutGameObjectPool().poolVersion("PrefabComponent", 9);
    document.component("PrefabComponent", 12345, element("resource", "a"));
    EXPECT_THAT(GameObjectPrefab::getNestedPrefabs(document.section()), ElementsAre("a"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedPrefabs, ofADocument_otherPoolsDoNotCount) {
    PrefabText document;
    document.root(id(1));
    document.component("TagComponent", 0, element("resource", "a"));
    EXPECT_THAT(GameObjectPrefab::getNestedPrefabs(document.section()), IsEmpty());
}

TEST_F(NestedPrefabs, ofADocument_withoutComponentStorage_areNone) {
    PrefabText document;
    document.root(id(1));
    EXPECT_THAT(GameObjectPrefab::getNestedPrefabs(document.section()), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

// hasNestedPrefabs.

class HasNestedPrefabs : public DocumentFixture {
protected:
    [[nodiscard]] bool ask(const std::string& text) const {
        directory.writeFile("asked.prefab", text);
        return GameObjectPrefab::hasNestedPrefabs("asked.prefab");
    }

    [[nodiscard]] static std::string poolOf(const std::string& type) {
        return element("prefab", element("components", element("pool", element("type", type))));
    }
};

TEST_F(HasNestedPrefabs, poolOfPrefabComponents_isTrue) {
    PrefabText document;
    document.root(id(1));
    document.component("TagComponent", 0).nested(id(2), "Nested", id(1), "a.prefab");
    EXPECT_TRUE(ask(document.text()));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(HasNestedPrefabs, poolWithoutItems_isTrue) {
    EXPECT_TRUE(ask(poolOf("PrefabComponent")));
}

TEST_F(HasNestedPrefabs, itemsWithEmptyResourceOnly_isTrue) {
    PrefabText document;
    document.component("PrefabComponent", 0, PrefabText::prefabProperties(""));
    EXPECT_TRUE(ask(document.text()));
}

TEST_F(HasNestedPrefabs, anyChildOfTheStorageIsAPool) {
    EXPECT_TRUE(ask(element("x", element("components", element("y", element("type", "PrefabComponent"))))));
}

TEST_F(HasNestedPrefabs, versionsAreNotChecked) {
    PrefabText document;
    document.formatVersion(99).poolVersion("PrefabComponent", 9);
    EXPECT_TRUE(ask(document.text()));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(HasNestedPrefabs, poolOfAnotherType_isFalse) {
    EXPECT_FALSE(ask(poolOf("TagComponent")));
}

TEST_F(HasNestedPrefabs, typeThatDiffersInCase_isFalse) {
    EXPECT_FALSE(ask(poolOf("prefabcomponent")));
}

TEST_F(HasNestedPrefabs, typeThatDiffersInWhiteSpace_isFalse) {
    EXPECT_FALSE(ask(poolOf(" PrefabComponent")));
}

TEST_F(HasNestedPrefabs, displayName_isFalse) {
    EXPECT_FALSE(ask(poolOf("Prefab")));
}

TEST_F(HasNestedPrefabs, poolWithoutType_isFalse) {
    EXPECT_FALSE(ask("<prefab><components><pool/></components></prefab>"));
}

TEST_F(HasNestedPrefabs, noComponentStorage_isFalseAndSilent) {
    EXPECT_FALSE(ask("<prefab/>"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(HasNestedPrefabs, storageBelowTheTopLevel_doesNotCount) {
    EXPECT_FALSE(ask(element("prefab", poolOf("PrefabComponent"))));
}

TEST_F(HasNestedPrefabs, poolBelowAPool_doesNotCount) {
    const std::string pool = element("pool", element("type", "PrefabComponent"));
    EXPECT_FALSE(ask(element("prefab", element("components", element("pool", pool)))));
}

TEST_F(HasNestedPrefabs, poolAfterOthers_isTrue) {
    EXPECT_TRUE(ask(element("prefab", element("components", "<pool/>" + element("pool", element("type", "Tag")) +
                                                                element("pool", element("type", "PrefabComponent"))))));
}

TEST_F(HasNestedPrefabs, missingFile_isFalseAndSilent) {
    EXPECT_FALSE(GameObjectPrefab::hasNestedPrefabs("no/such.prefab"));
    EXPECT_THAT(logged(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
