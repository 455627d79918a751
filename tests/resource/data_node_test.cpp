#include <common/white_space.h>
#include <resource/data_section.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/log_capture.h>

namespace Kiln {

namespace {

using testing::ElementsAre;

/// The text of the root element of an XML text.
std::string rootText(std::string_view xml) {
    const SmartPointer<DataSection> root = DataSection::fromText(xml, "test");
    return root ? root->node().text() : "(not well formed)";
}

} // namespace

TEST(DataNode, null_answersWithNothing) {
    const DataNode null;
    std::string scratch;

    EXPECT_FALSE(null);
    EXPECT_EQ(null.name(), "");
    EXPECT_EQ(null.text(scratch), "");
    EXPECT_EQ(null.text(), "");
    EXPECT_FALSE(null.firstChild());
    EXPECT_FALSE(null.nextSibling());
    EXPECT_FALSE(null.child("a"));
    EXPECT_EQ(null.childrenCount(), 0U);
    EXPECT_LT(null.offset(), 0);
    EXPECT_FALSE(null.append("a"));
    null.setText("ignored");
}

TEST(DataNode, children_areTheElementsInOrder) {
    const auto root = DataSection::fromText("<r>text<a/><!-- comment --><b/>text<?pi?><![CDATA[x]]><a/></r>", "test");
    const DataNode node = root->node();

    EXPECT_EQ(node.name(), "r");
    EXPECT_EQ(node.childrenCount(), 3U);
    const DataNode first = node.firstChild();
    EXPECT_EQ(first.name(), "a");
    EXPECT_EQ(first.nextSibling().name(), "b");
    EXPECT_EQ(first.nextSibling().nextSibling().name(), "a");
    EXPECT_FALSE(first.nextSibling().nextSibling().nextSibling());
}

TEST(DataNode, child_isTheFirstOfThatName) {
    const auto root = DataSection::fromText("<r><b>0</b><a>1</a><a>2</a></r>", "test");

    EXPECT_EQ(root->node().child("a").text(), "1");
    EXPECT_FALSE(root->node().child("A"));
    EXPECT_FALSE(root->node().child(""));
    EXPECT_FALSE(root->node().child("aa"));
}

TEST(DataNode, root_hasNoSibling) {
    const auto root = DataSection::fromText("<!-- before --><r/><!-- after -->", "test");

    EXPECT_FALSE(root->node().nextSibling());
}

TEST(DataNode, text_inOnePiece_isAViewOfTheDocument) {
    const auto root = DataSection::fromText("<r>one piece</r>", "test");
    std::string scratch = "untouched";
    const std::string_view text = root->node().text(scratch);

    EXPECT_EQ(text, "one piece");
    EXPECT_EQ(scratch, "untouched");
    EXPECT_EQ(text.data(), root->node().text(scratch).data());
}

TEST(DataNode, text_inSeveralPieces_isJoinedInScratch) {
    const auto root = DataSection::fromText("<r>a<!-- c -->b<![CDATA[<c>]]>d<?pi?>e</r>", "test");
    std::string scratch = "before";
    const std::string_view text = root->node().text(scratch);

    EXPECT_EQ(text, "ab<c>de");
    EXPECT_EQ(text.data(), scratch.data());
}

TEST(DataNode, text_isKeptByteForByte) {
    EXPECT_EQ(rootText("<r> \t\r\n padded \r\n</r>"), " \t\r\n padded \r\n");
    EXPECT_EQ(rootText("<r> \n\t </r>"), " \n\t ");
    EXPECT_EQ(rootText("<r>a\rb\r\nc</r>"), "a\rb\r\nc");
    EXPECT_EQ(rootText("<r>caf\xc3\xa9 \xf0\x9f\x94\xa5</r>"), "caf\xc3\xa9 \xf0\x9f\x94\xa5");
}

TEST(DataNode, text_empty) {
    EXPECT_EQ(rootText("<r/>"), "");
    EXPECT_EQ(rootText("<r></r>"), "");
    EXPECT_EQ(rootText("<r><!-- c --></r>"), "");
    EXPECT_EQ(rootText("<r><![CDATA[]]></r>"), "");
}

TEST(DataNode, text_referencesAreExpanded) {
    EXPECT_EQ(rootText("<r>&lt;&gt;&amp;&quot;&apos;&#65;&#x42;&#13;&#10;&#9;&#xe9;</r>"), "<>&\"'AB\r\n\t\xc3\xa9");
}

TEST(DataNode, text_cdataIsTakenLiterally) {
    EXPECT_EQ(rootText("<r><![CDATA[<a>&lt;</a>]]></r>"), "<a>&lt;</a>");
    EXPECT_EQ(rootText("<r><![CDATA[ \r\n ]]></r>"), " \r\n ");
}

TEST(DataNode, text_whiteSpaceAroundCdataAndCommentsIsKept) {
    EXPECT_EQ(rootText("<r>\n\t<![CDATA[x]]>\n</r>"), "\n\tx\n");
    EXPECT_EQ(rootText("<r> <!-- c --> </r>"), "  ");
    EXPECT_EQ(rootText("<r>a<![CDATA[b]]> <![CDATA[c]]></r>"), "ab c");
    EXPECT_EQ(rootText("<r> <?pi?>a</r>"), " a");
    EXPECT_EQ(rootText("<r>x/><![CDATA[y]]> </r>"), "x/>y ");
    EXPECT_EQ(rootText("<r>x><![CDATA[y]]> </r>"), "x>y ");
    EXPECT_EQ(rootText("<r a=\"/>\"> <![CDATA[y]]></r>"), " y");
    EXPECT_EQ(rootText("<r><!-- </a --><![CDATA[y]]> </r>"), "y ");
}

TEST(DataNode, text_whiteSpaceBetweenElementsIsNotKept) {
    for (const char* comment : {"", "<!-- c -->", "<![CDATA[]]>", "<?pi?>"}) {
        SCOPED_TRACE(comment);
        const std::string xml = std::string("\n<r>\n\t<a>\n\t\t<b> </b> ") + comment + " \n\t</a>\n\t<c> </c>\n</r>\n";
        const auto root = DataSection::fromText(xml, "test");
        ASSERT_TRUE(root);

        EXPECT_EQ(root->node().text(), "");
        EXPECT_EQ(root->node().child("a").text(), "");
        EXPECT_EQ(root->node().child("a").child("b").text(), " ");
        EXPECT_EQ(root->node().child("c").text(), " ");
    }
}

TEST(DataNode, text_besideElements_isKept) {
    const auto root = DataSection::fromText("<r> a <b/> c <d/>\n</r>", "test");

    EXPECT_EQ(root->node().text(), " a  c ");
}

TEST(DataNode, setText_replacesEveryPiece) {
    const auto root = DataSection::fromText("<r>a<![CDATA[b]]>c<d/>e</r>", "test");
    root->node().setText("new");

    EXPECT_EQ(root->node().text(), "new");
    EXPECT_EQ(root->node().childrenCount(), 1U);
}

TEST(DataNode, setText_longerThanBefore) {
    const auto root = DataSection::fromText("<r><a>x</a><b>y</b></r>", "test");
    const std::string longText(1000, 'z');
    root->node().child("a").setText(longText);

    EXPECT_EQ(root->node().child("a").text(), longText);
    EXPECT_EQ(root->node().child("b").text(), "y");
}

TEST(DataNode, setText_empty_removesTheText) {
    const auto root = DataSection::fromText("<r><a>x</a><b><![CDATA[y]]></b><c/></r>", "test");
    for (DataNode child = root->node().firstChild(); child; child = child.nextSibling()) {
        child.setText("");
        EXPECT_EQ(child.text(), "") << child.name();
    }
}

TEST(DataNode, setText_viewOfTheOldText) {
    const auto root = DataSection::fromText("<r><a>  embedded  </a><b><![CDATA[  cdata  ]]></b></r>", "test");
    for (DataNode child = root->node().firstChild(); child; child = child.nextSibling()) {
        std::string scratch;
        child.setText(trimWhiteSpace(child.text(scratch)));
    }

    EXPECT_EQ(root->node().child("a").text(), "embedded");
    EXPECT_EQ(root->node().child("b").text(), "cdata");
}

TEST(DataNode, setText_nulBytes_areLeftOutAndReported) {
    TestSupport::LogCapture log;
    const auto root = DataSection::create("r");
    root->node().setText(std::string_view("a\0b\0", 4));

    EXPECT_EQ(root->node().text(), "ab");
    EXPECT_THAT(log.errors(), ElementsAre("NUL bytes are left out of the text of 'r': XML has no form for them"));
}

TEST(DataNode, append_addsAtTheEnd) {
    const auto root = DataSection::fromText("<r><a/></r>", "test");
    const DataNode added = root->node().append("b");
    added.setText("text");

    EXPECT_EQ(root->node().firstChild().nextSibling(), added);
    EXPECT_EQ(added.name(), "b");
    EXPECT_EQ(added.text(), "text");
    EXPECT_EQ(added.childrenCount(), 0U);
}

TEST(DataNode, append_nameIsAViewIntoALongerText) {
    const auto root = DataSection::create("r");

    EXPECT_EQ(root->node().append(std::string_view("name and more").substr(0, 4)).name(), "name");
}

TEST(DataNode, offset_isThatOfTheName) {
    const auto root = DataSection::fromText("<r>\n<abc/></r>", "test");

    EXPECT_EQ(root->node().offset(), 1);
    EXPECT_EQ(root->node().child("abc").offset(), 5);
}

TEST(DataNode, offset_appendedElement_isNegative) {
    const auto root = DataSection::fromText("<r/>", "test");

    EXPECT_LT(root->node().append("a").offset(), 0);
    EXPECT_LT(DataSection::create("r")->node().offset(), 0);
}

} // namespace Kiln
