#include "library_fixture.h"

namespace Kiln::TestSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NestedResourcesTest : public LibraryFixture {
protected:
    /// The resources that a prefab with one integration point of "lamp.prefab" nests.
    [[nodiscard]] std::vector<std::string> nestedWith(const std::string& overridesData) {
        PrefabText prefab;
        prefab.root(id(1), "Root");
        prefab.nested(id(2), "Point", id(1), "lamp.prefab", overridesData);
        writePrefab("top.prefab", prefab);
        return Tessel::Streaming::detail::readFileAside("top.prefab")->nested;
    }

    [[nodiscard]] static OverridesText resourceRecord(const std::string& resource) {
        return OverridesText().record(id(3), "PrefabComponent", element("resource", resource));
    }
};

TEST_F(NestedResourcesTest, integrationPoints_inOrderAndOnce) {
    write("top.prefab", {"b.prefab", "a.prefab", "b.prefab", "c.prefab"});
    EXPECT_THAT(Tessel::Streaming::detail::readFileAside("top.prefab")->nested,
                ElementsAre("b.prefab", "a.prefab", "c.prefab"));
}

TEST_F(NestedResourcesTest, rootAndEmptyResources_areLeftOut) {
    PrefabText prefab;
    prefab.nest(prefab.root(id(1), "Root"), "other.prefab");
    prefab.nested(id(2), "Point", id(1), "");
    writePrefab("top.prefab", prefab);
    EXPECT_THAT(Tessel::Streaming::detail::readFileAside("top.prefab")->nested, IsEmpty());
}

TEST_F(NestedResourcesTest, overrides_thatSetAResource) {
    EXPECT_THAT(nestedWith(resourceRecord("neon.prefab").text()), ElementsAre("lamp.prefab", "neon.prefab"));
}

TEST_F(NestedResourcesTest, overrides_ofOtherComponentsAndProperties_areIgnored) {
    OverridesText overrides;
    overrides.record(id(3), "TagComponent", element("resource", "PrefabComponent"));
    overrides.record(id(4), "PrefabComponent", element("tag", "neon.prefab"));
    EXPECT_THAT(nestedWith(overrides.text()), ElementsAre("lamp.prefab"));
}

TEST_F(NestedResourcesTest, overridesInsideOfOverrides) {
    const OverridesText inner = resourceRecord("neon.prefab");
    const OverridesText outer =
        OverridesText().record(id(3), "PrefabComponent", element("overridesData", inner.escapedText()));
    EXPECT_THAT(nestedWith(outer.text()), ElementsAre("lamp.prefab", "neon.prefab"));
}

TEST_F(NestedResourcesTest, overridesInsideOfOverrides_deeperThanPrefabsNest_areIgnored) {
    OverridesText overrides = resourceRecord("deep.prefab");
    for (int level = 1; level <= GameObjectPrefab::MAX_NESTING_DEPTH; ++level) {
        overrides = OverridesText().record(id(3), "PrefabComponent", element("overridesData", overrides.escapedText()));
    }
    EXPECT_THAT(nestedWith(overrides.text()), ElementsAre("lamp.prefab", "deep.prefab"));
    overrides = OverridesText().record(id(3), "PrefabComponent", element("overridesData", overrides.escapedText()));
    EXPECT_THAT(nestedWith(overrides.text()), ElementsAre("lamp.prefab"));
}

TEST_F(NestedResourcesTest, componentNameInPieces_isFound) {
    EXPECT_THAT(nestedWith("<overrides><gameObject><uuid>" + id(3).toString() +
                           "</uuid><component><type>Prefab<!-- -->Compo&#110;ent</type><properties>"
                           "<resource>neon.prefab</resource></properties></component></gameObject></overrides>"),
                ElementsAre("lamp.prefab", "neon.prefab"));
}

TEST_F(NestedResourcesTest, malformedOverrides_areIgnoredWithoutAMessage) {
    EXPECT_THAT(nestedWith("<overrides><PrefabComponent"), ElementsAre("lamp.prefab"));
    EXPECT_THAT(nestedWith("<other>PrefabComponent</other>"), ElementsAre("lamp.prefab"));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(NestedResourcesTest, prefabThatAnOverrideNames_isRead) {
    write("lamp.prefab");
    write("neon.prefab");
    static_cast<void>(nestedWith(resourceRecord("neon.prefab").text()));
    load("top.prefab");
    EXPECT_THAT(reads(), testing::UnorderedElementsAre("lamp.prefab", "neon.prefab"));
    EXPECT_NE(library->find("neon.prefab")->prefab(), nullptr);
}

} // namespace
} // namespace Kiln::TestSupport
