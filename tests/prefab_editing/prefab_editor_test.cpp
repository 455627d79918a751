#include <prefab_editing/prefab_editor.h>

#include <resource/file_system_utils.h>
#include <support/prefab_text.h>
#include <support/temporary_directory.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace Kiln::PrefabEditingTests {

namespace {

using PrefabEditing::EditError;
using PrefabEditing::PrefabEditor;
using PrefabInspection::PrefabFile;
using TestSupport::id;

/// A file that the editor changes.
class EditedPrefab : public testing::Test {
protected:
    EditedPrefab() { FS::Utils::addResourceRoot(m_directory.path().string()); }
    ~EditedPrefab() override { FS::Utils::clearResourceRoots(); }

    [[nodiscard]] std::string edited(const std::string& text, const std::function<void(PrefabEditor&)>& edit) const {
        m_directory.writeFile("a.prefab", text);
        const PrefabFile file("a.prefab");
        PrefabEditor editor(file);
        edit(editor);
        return editor.take().text();
    }

    [[nodiscard]] std::string errorOf(const std::string& text, const std::function<void(PrefabEditor&)>& edit) const {
        try {
            return "no error: " + edited(text, edit);
        } catch (const EditError& error) {
            return error.what();
        }
    }

    TestSupport::TemporaryDirectory m_directory;
};

/// A document with one item of an unknown type, whose properties are given.
[[nodiscard]] std::string withProperties(const std::string& properties) {
    return "<prefab><gameObjects><gameObject><name>A</name></gameObject></gameObjects><components><pool><type>X</type>"
           "<item><gameObject>0</gameObject>" +
           properties + "</item></pool></components></prefab>";
}

TEST_F(EditedPrefab, setValue_keepsEverythingElse) {
    const auto set = [](PrefabEditor& editor) { editor.setValue(0, "X", "a", "1 < 2 & 3"); };
    EXPECT_EQ(edited(withProperties("<properties>\r\n <a b='c'> 0 </a ><!-- x --></properties>"), set),
              withProperties("<properties>\r\n <a b='c'>1 &lt; 2 &amp; 3</a ><!-- x --></properties>"));
    EXPECT_EQ(edited(withProperties("<properties><a/></properties>"), set),
              withProperties("<properties><a>1 &lt; 2 &amp; 3</a></properties>"));
    EXPECT_EQ(edited(withProperties("<properties><a><![CDATA[0]]></a></properties>"), set),
              withProperties("<properties><a><![CDATA[1 < 2 & 3]]></a></properties>"));
    EXPECT_EQ(edited(withProperties("<properties><a>x<!-- y -->z</a></properties>"), set),
              withProperties("<properties><a>1 &lt; 2 &amp; 3<!-- y --></a></properties>"));
}

TEST_F(EditedPrefab, setValue_thatWouldEndACdataSection_isEscaped) {
    EXPECT_EQ(edited(withProperties("<properties><a><![CDATA[0]]></a></properties>"),
                     [](PrefabEditor& editor) { editor.setValue(0, "X", "a", "]]>"); }),
              withProperties("<properties><a>]]&gt;</a></properties>"));
}

TEST_F(EditedPrefab, setValue_refusesControlCharactersThatXmlDoesNotAllow) {
    for (const char* const old : {"0", "<![CDATA[0]]>"}) {
        EXPECT_EQ(errorOf(withProperties("<properties><a>" + std::string(old) + "</a></properties>"),
                          [](PrefabEditor& editor) { editor.setValue(0, "X", "a", "x\x1B[31m"); }),
                  "The text has the control character U+001B, which XML does not allow");
    }
    EXPECT_EQ(errorOf(withProperties(""), [](PrefabEditor& editor) { editor.rename(0, "\x01"); }),
              "The text has the control character U+0001, which XML does not allow");
}

TEST_F(EditedPrefab, setValue_writesACarriageReturnAsAReference) {
    for (const char* const old : {"0", "<![CDATA[0]]>"}) {
        EXPECT_EQ(edited(withProperties("<properties><a>" + std::string(old) + "</a></properties>"),
                         [](PrefabEditor& editor) { editor.setValue(0, "X", "a", "x\r\n\ty"); }),
                  withProperties("<properties><a>x&#13;\n\ty</a></properties>"));
    }
}

TEST_F(EditedPrefab, setValue_refusesSeveralComponentsOfTheType) {
    EXPECT_EQ(errorOf(TestSupport::PrefabText()
                          .object(id(1), "A")
                          .component("X", 0, "<a>1</a>")
                          .component("X", 0, "<a>2</a>")
                          .text(),
                      [](PrefabEditor& editor) { editor.setValue(0, "X", "a", "3"); }),
              "'A' has 2 components 'X'; change the file in a text editor");
}

TEST_F(EditedPrefab, setValue_reachesMembersAndElements) {
    EXPECT_EQ(
        edited(withProperties("<properties><a><b>1</b></a><v><value>2</value><value><c>3</c></value></v></properties>"),
               [](PrefabEditor& editor) {
                   editor.setValue(0, "X", "a.b", "x");
                   editor.setValue(0, "X", "v[0]", "y");
                   editor.setValue(0, "X", "v[1].c", "z");
               }),
        withProperties("<properties><a><b>x</b></a><v><value>y</value><value><c>z</c></value></v></properties>"));
}

TEST_F(EditedPrefab, setValue_refusesWhatItCannotSet) {
    const std::string text = withProperties("<properties><a><b>1</b></a></properties>");
    const auto error = [this, &text](const char* component, const char* property) {
        return errorOf(text, [=](PrefabEditor& editor) { editor.setValue(0, component, property, "1"); });
    };
    EXPECT_EQ(error("Y", "a"), "'A' has no component 'Y', only X");
    EXPECT_EQ(error("X", "a"), "'a' has several values; name one of them");
    EXPECT_EQ(error("X", "c"), "'X' has no 'c' in the file, and its type is not known; --load its library");
    EXPECT_EQ(error("X", "a[1]"), "The file has no element 1 of the vector; only existing elements can be changed");
    EXPECT_EQ(error("X", "a..b"), "'a..b' is not the name of a property");
    EXPECT_EQ(error("X", "a[x]"), "'a[x]' is not the name of a property");
    EXPECT_EQ(error("X", "a[1"), "'a[1' is not the name of a property");
    EXPECT_EQ(errorOf(text,
                      [](PrefabEditor& editor) {
                          editor.setValue(0, "X", "a.b", "1");
                          editor.setValue(0, "X", "a.b", "2");
                      }),
              "'b' is set twice");
}

TEST_F(EditedPrefab, addNested_refusesToGiveTheNewObjectComponentsOfAMissingOne) {
    const auto error = [this](std::size_t index) {
        return errorOf(TestSupport::PrefabText().object(id(1), "A").component("X", index).text(),
                       [](PrefabEditor& editor) {
                           editor.addNested({id(2), "B", id(1), "b.prefab"});
                       });
    };
    EXPECT_EQ(error(1), "The file has a component 'X' of the missing object 1, which the new object would get; remove "
                        "that component first");
    EXPECT_TRUE(error(2).starts_with("no error: <prefab>"));
}

TEST_F(EditedPrefab, newElements_getTheLayoutOfThoseBesideThem) {
    const std::string text = "<prefab>\r\n  <gameObjects>\r\n    <gameObject>\r\n      <uuid>" + id(1).toString() +
                             "</uuid>\r\n    </gameObject>\r\n  </gameObjects>\r\n</prefab>";
    EXPECT_EQ(edited(text,
                     [](PrefabEditor& editor) {
                         editor.rename(0, "A & B");
                         editor.addNested({id(2), "C", id(1), "c.prefab"});
                     }),
              "<prefab>\r\n  <gameObjects>\r\n    <gameObject>\r\n      <uuid>" + id(1).toString() +
                  "</uuid>\r\n      <name>A &amp; B</name>\r\n    </gameObject>\r\n    <gameObject>\r\n      <uuid>" +
                  id(2).toString() +
                  "</uuid>\r\n      <name>C</name>\r\n      <flags>0</flags>\r\n    </gameObject>\r\n"
                  "  </gameObjects>\r\n  <components>\r\n    <pool>\r\n      <type>HierarchyComponent</type>\r\n"
                  "      <version>1</version>\r\n      <item>\r\n        <gameObject>1</gameObject>\r\n"
                  "        <options>35</options>\r\n        <properties>\r\n          <parent>" +
                  id(1).toString() +
                  "</parent>\r\n        </properties>\r\n      </item>\r\n    </pool>\r\n    <pool>\r\n"
                  "      <type>PrefabComponent</type>\r\n      <version>1</version>\r\n      <item>\r\n"
                  "        <gameObject>1</gameObject>\r\n        <options>35</options>\r\n        <properties>\r\n"
                  "          <resource>c.prefab</resource>\r\n          <overridesData></overridesData>\r\n"
                  "        </properties>\r\n      </item>\r\n    </pool>\r\n  </components>\r\n</prefab>");
}

TEST_F(EditedPrefab, newElements_ofADocumentInOneLine_stayInTheLine) {
    EXPECT_EQ(edited("<prefab><gameObjects><gameObject><uuid>x</uuid></gameObject></gameObjects></prefab>",
                     [](PrefabEditor& editor) { editor.rename(0, "A"); }),
              "<prefab><gameObjects><gameObject><uuid>x</uuid><name>A</name></gameObject></gameObjects></prefab>");
}

TEST_F(EditedPrefab, newElements_ofEmptyOnes_areIndentedByATab) {
    EXPECT_EQ(edited("<prefab>\n\t<gameObjects>\n\t\t<gameObject/>\n\t</gameObjects>\n</prefab>\n",
                     [](PrefabEditor& editor) { editor.rename(0, "A"); }),
              "<prefab>\n\t<gameObjects>\n\t\t<gameObject>\n\t\t\t<name>A</name>\n\t\t</gameObject>\n\t</"
              "gameObjects>\n</prefab>\n");
}

TEST_F(EditedPrefab, remove_takesComponentsAndCommentsAndRenumbersTheRest) {
    const auto document = [](const std::string& objects, const std::string& pools) {
        return "<prefab>\n<gameObjects>" + objects + "\n</gameObjects>\n<components>" + pools +
               "\n</components>\n</prefab>\n";
    };
    const auto item = [](const char* index) {
        return "\n<item><gameObject> " + std::string(index) + " </gameObject></item>";
    };
    const std::string a = "\n<gameObject><name>A</name></gameObject>";
    const std::string b = "\n<!-- b -->\n<gameObject><name>B</name></gameObject> <!-- of B -->";
    const std::string c = "\n<gameObject><name>C</name></gameObject> <!-- of C -->";
    EXPECT_EQ(edited(document(a + b + c, "\n<pool><type>X</type>" + item("0") + item("1") + item("2") + item("7") +
                                             "\n</pool>\n<pool><type>Y</type>" + item("1") + "\n</pool> <!-- Y -->"),
                     [](PrefabEditor& editor) { editor.remove({1}); }),
              document(a + "\n<!-- b -->" + c, "\n<pool><type>X</type>" + item("0") +
                                                   "\n<item><gameObject>1</gameObject></item>" + item("7") +
                                                   "\n</pool>"));
}

} // namespace

} // namespace Kiln::PrefabEditingTests
