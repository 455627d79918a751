#include "composition_fixture.h"

#include <prefab_inspection/composition/prefab_view.h>

namespace Kiln::PrefabInspection {

namespace {

using testing::ElementsAre;

class PrefabViewTest : public CompositionFixture {
protected:
    [[nodiscard]] const PrefabView& authored(const std::string& path) {
        m_files = std::make_unique<PrefabFiles>();
        m_view = std::make_unique<AuthoredView>(*m_files, m_files->get(path));
        return *m_view;
    }

    std::unique_ptr<AuthoredView> m_view;
};

TEST_F(PrefabViewTest, authoredParents_areFoundInTheFile) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)));
    const PrefabView& view = authored("a.prefab");
    EXPECT_EQ(view.object(0).position, PrefabView::Position::ROOT);
    EXPECT_EQ(view.object(1).position, PrefabView::Position::CHILD);
    EXPECT_EQ(view.object(1).parent, 0U);
    EXPECT_EQ(view.object(1).uuid, id(2));
}

TEST_F(PrefabViewTest, authoredParentInsideOfANestedPrefab_isShownBelowThePoint) {
    write("inner.prefab", PrefabText().object(id(11), "Inner").object(id(12), "Leaf").parent(1, id(11)));
    write("a.prefab", PrefabText()
                          .object(id(1), "A")
                          .object(id(2), "Point")
                          .object(id(3), "Sign")
                          .parent(1, id(1))
                          .nest(1, "inner.prefab")
                          .parent(2, Uuid::combine(id(2), id(12))));
    const PrefabView::Object sign = authored("a.prefab").object(2);
    EXPECT_EQ(sign.position, PrefabView::Position::BELOW_NESTED);
    EXPECT_EQ(sign.parent, 1U);
    EXPECT_EQ(sign.remark, "Leaf");
    EXPECT_EQ(authored("a.prefab").object(1).nested, "inner.prefab");
}

TEST_F(PrefabViewTest, authoredParentThatIsNotFound_isNamed) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(7)));
    const PrefabView::Object object = authored("a.prefab").object(1);
    EXPECT_EQ(object.position, PrefabView::Position::NO_PARENT);
    EXPECT_EQ(object.parent, PrefabView::NONE);
    EXPECT_EQ(object.remark, id(7).toString());
}

TEST_F(PrefabViewTest, authoredParentCycle_isBrokenAtTheObjectThatClosesIt) {
    write(
        "a.prefab",
        PrefabText().object(id(1), "Root").object(id(2), "One").object(id(3), "Two").parent(1, id(3)).parent(2, id(2)));
    const PrefabView& view = authored("a.prefab");
    EXPECT_EQ(view.object(1).parent, 2U);
    EXPECT_EQ(view.object(2).position, PrefabView::Position::CYCLE);
    EXPECT_EQ(view.object(2).parent, PrefabView::NONE);
    EXPECT_EQ(view.object(2).remark, "One");
}

TEST_F(PrefabViewTest, documentThatTheLoaderRefuses_isShown) {
    write("a.prefab",
          PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(7)).formatVersion(2).object(id(3), "C"));
    const PrefabView& view = authored("a.prefab");
    EXPECT_EQ(view.size(), 3U);
    EXPECT_EQ(view.object(1).position, PrefabView::Position::NO_PARENT);
}

TEST_F(PrefabViewTest, authoredComponents_includeUnknownOnes) {
    write("a.prefab",
          PrefabText()
              .object(id(1), "A")
              .component("NoSuchComponent", 0,
                         element("size", "3") + element("list", element("value", "a") + element("value", "")) +
                             element("inner", element("x", " 1 ")))
              .component("PlateComponent", 0, element("width", " 5 ") + element("rows", ""), 0U));
    const PrefabView& view = authored("a.prefab");
    const std::vector<PrefabView::Component> components = view.components(0);
    ASSERT_EQ(components.size(), 2U);
    EXPECT_EQ(components[0].type, "NoSuchComponent");
    EXPECT_FALSE(components[0].isKnown);
    EXPECT_TRUE(components[1].isKnown);
    EXPECT_FALSE(components[1].isRead);
    const std::vector<ComposedValue> unknown = view.values(0, 0);
    EXPECT_EQ(findValue(unknown, "size")->text, "3");
    EXPECT_EQ(findValue(unknown, "list[1]")->text, "");
    EXPECT_EQ(findValue(unknown, "inner.x")->text, " 1 ");
    const std::vector<ComposedValue> plate = view.values(0, 1);
    ASSERT_EQ(plate.size(), 2U);
    EXPECT_EQ(plate[0].text, "5");
    EXPECT_EQ(plate[1].kind, mirra::ValueKind::VECTOR);
}

TEST_F(PrefabViewTest, composedObjects_haveTheirOrigins) {
    write("inner.prefab", PrefabText().object(id(11), "Inner"));
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "Point").parent(1, id(1)).nest(1, "inner.prefab"));
    const ComposedView view(compose("a.prefab"));
    ASSERT_EQ(view.size(), 2U);
    const PrefabView::Object point = view.object(1);
    EXPECT_EQ(point.name, "Point");
    EXPECT_EQ(point.fileUuid, id(2));
    EXPECT_EQ(point.nested, "inner.prefab");
    EXPECT_EQ(*point.origin.file, "a.prefab");
    EXPECT_EQ(*point.rootOrigin.file, "inner.prefab");
    EXPECT_FALSE(view.object(0).rootOrigin);
    EXPECT_EQ(view.components(0)[0].type, "PrefabComponent");
    EXPECT_FALSE(view.components(0)[0].origin);
}

} // namespace

} // namespace Kiln::PrefabInspection
