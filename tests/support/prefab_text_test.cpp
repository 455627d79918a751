#include <resource/data_section.h>
#include <support/prefab_text.h>

#include <string>

#include <gtest/gtest.h>

namespace Kiln::TestSupport {
namespace {

constexpr const char* ROOT = "<gameObject><uuid>00000000-0000-0000-0000-000000000001</uuid><name>Root</name>"
                             "<flags>0</flags></gameObject>";

/// A document of the current version with these contents of its pools' elements.
[[nodiscard]] std::string document(const std::string& gameObjects, const std::string& components) {
    return "<prefab><formatVersion>1</formatVersion><gameObjects>" + gameObjects + "</gameObjects>" + components +
           "</prefab>";
}

TEST(PrefabText, newBuilder_isADocumentWithoutObjects) {
    EXPECT_EQ(PrefabText().text(), document("", ""));
}

TEST(PrefabText, simplePrefab_isOneObject) {
    EXPECT_EQ(simplePrefab(), document(ROOT, ""));
}

TEST(PrefabText, root_returnsTheIndexOfTheObject) {
    PrefabText prefab;
    EXPECT_EQ(prefab.root(id(1), "Root"), 0U);
    EXPECT_EQ(prefab.root(id(2)), 1U);
    EXPECT_EQ(prefab.child(id(3), "Child", id(1)), 2U);
    EXPECT_EQ(prefab.nested(id(4), "Nested", id(1), "a.prefab"), 3U);
}

TEST(PrefabText, flags_areWritten) {
    EXPECT_EQ(PrefabText().object(id(1), "A", 5).text(),
              document("<gameObject><uuid>00000000-0000-0000-0000-000000000001</uuid><name>A</name>"
                       "<flags>5</flags></gameObject>",
                       ""));
}

TEST(PrefabText, child_isAnObjectWithAParent) {
    PrefabText prefab;
    prefab.root(id(1), "Root");
    prefab.child(id(2), "Child", id(1));
    EXPECT_EQ(prefab.text(), PrefabText().object(id(1), "Root").object(id(2), "Child").parent(1, id(1)).text());
}

TEST(PrefabText, nested_isAChildThatNestsAPrefab) {
    PrefabText prefab;
    prefab.root(id(1), "Root");
    prefab.nested(id(2), "Lamp", id(1), "lamp.prefab", "<overrides/>");
    EXPECT_EQ(prefab.text(), PrefabText()
                                 .object(id(1), "Root")
                                 .object(id(2), "Lamp")
                                 .parent(1, id(1))
                                 .nest(1, "lamp.prefab", "<overrides/>")
                                 .text());
}

TEST(PrefabText, nest_writesResourceAndOverrides) {
    EXPECT_EQ(PrefabText().object(id(1), "Root").nest(0, "lamp.prefab", "<overrides/>").text(),
              document(ROOT, "<components><pool><type>PrefabComponent</type><version>1</version>"
                             "<item><gameObject>0</gameObject><properties><resource>lamp.prefab</resource>"
                             "<overridesData><![CDATA[<overrides/>]]></overridesData></properties></item>"
                             "</pool></components>"));
}

TEST(PrefabText, componentsOfOneType_shareThePool) {
    EXPECT_EQ(PrefabText().component("A", 0).component("B", 1, "<x/>", 2).component("A", 7).text(),
              document("", "<components><pool><type>A</type><version>1</version>"
                           "<item><gameObject>0</gameObject><properties></properties></item>"
                           "<item><gameObject>7</gameObject><properties></properties></item></pool>"
                           "<pool><type>B</type><version>1</version><item><gameObject>1</gameObject>"
                           "<options>2</options><properties><x/></properties></item></pool></components>"));
}

TEST(PrefabText, newPool_getsTheFurtherItemsOfItsType) {
    EXPECT_EQ(PrefabText().item("A", "1").newPool("A").item("A", "2").text(),
              document("", "<components><pool><type>A</type><version>1</version><item>1</item></pool>"
                           "<pool><type>A</type><version>1</version><item>2</item></pool></components>"));
}

TEST(PrefabText, poolVersion_isSetOrLeftOut) {
    EXPECT_EQ(PrefabText().poolVersion("A", 3).poolVersion("B", std::nullopt).text(),
              document("", "<components><pool><type>A</type><version>3</version></pool>"
                           "<pool><type>B</type></pool></components>"));
}

TEST(PrefabText, formatVersionAndGameObjectPool_canBeLeftOut) {
    EXPECT_EQ(PrefabText().formatVersion(std::nullopt).withoutGameObjectPool().raw("<rest/>").text(),
              "<prefab><rest/></prefab>");
}

TEST(PrefabText, section_isTheParsedText) {
    const SmartPointer<DataSection> section = PrefabText().object(id(1), "Root").section();
    ASSERT_NE(section, nullptr);
    EXPECT_EQ(section->readString("formatVersion"), "1");
}

TEST(OverridesText, record_namesObjectAndComponent) {
    OverridesText overrides;
    overrides.record(id(2), "TagComponent", element("tag", "dim"));
    EXPECT_EQ(overrides.text(),
              "<overrides><gameObject><uuid>00000000-0000-0000-0000-000000000002</uuid><component>"
              "<type>TagComponent</type><properties><tag>dim</tag></properties></component></gameObject></overrides>");
}

TEST(OverridesText, escapedText_hasNoMarkup) {
    EXPECT_EQ(OverridesText().escapedText(), "&lt;overrides&gt;&lt;/overrides&gt;");
}

TEST(OverridesText, escapedText_escapesAmpersands) {
    OverridesText overrides;
    overrides.record(id(2), "A", "&amp;");
    EXPECT_NE(overrides.escapedText().find("&amp;amp;"), std::string::npos);
}

} // namespace
} // namespace Kiln::TestSupport
