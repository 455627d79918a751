// Character references, and control characters in texts.

#include <resource/data_section.h>

#include <cstddef>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/log_capture.h>

namespace Kiln {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string REFUSED = "Character reference that XML does not allow";

/// The text of the root element; "(null)" if the document is refused.
std::string textOf(const std::string& xml) {
    const auto root = DataSection::fromText(xml, "test");
    return root ? root->asString() : "(null)";
}

void expectReferenceRefused(const std::string& xml, const std::string& position) {
    SCOPED_TRACE(xml);
    TestSupport::LogCapture log;
    EXPECT_EQ(textOf(xml), "(null)");
    EXPECT_THAT(log.texts(), ElementsAre("XML error in 'test' at " + position + ": " + REFUSED));
}

void expectText(const std::string& xml, const std::string& text) {
    SCOPED_TRACE(xml);
    TestSupport::LogCapture log;
    EXPECT_EQ(textOf(xml), text);
    EXPECT_THAT(log.texts(), IsEmpty());
}

/// What reading yields for a document that was read and written.
std::string writtenText(const std::string& xml) {
    const auto root = DataSection::fromText(xml, "test");
    return root ? root->toText() : "(null)";
}

} // namespace

TEST(CharacterReference, charactersThatXmlDoesNotAllow_areRefused) {
    for (const char* const reference : {"&#0;",          "&#x0;",
                                        "&#00000;",      "&#1;",
                                        "&#8;",          "&#x0B;",
                                        "&#12;",         "&#x1f;",
                                        "&#x1F;",        "&#xD800;",
                                        "&#xdfff;",      "&#56320;",
                                        "&#xFFFE;",      "&#xFFFF;",
                                        "&#65535;",      "&#x110000;",
                                        "&#1114112;",    "&#xFFFFFFFF;",
                                        "&#4294967296;", "&#4294967361;",
                                        "&#x100000041;", "&#99999999999999999999999999999999;"}) {
        expectReferenceRefused("<r>\n<a>ab" + std::string(reference) + "c</a></r>", "line 2, column 6");
    }
}

TEST(CharacterReference, charactersThatXmlAllows_areRead) {
    expectText("<r>&#9;&#xA;&#13;&#32;</r>", "\t\n\r ");
    expectText("<r>&#127;&#x80;</r>", "\x7f\xc2\x80");
    expectText("<r>&#xD7FF;&#xE000;&#xFFFD;</r>", "\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbd");
    expectText("<r>&#x10000;&#x10FFFF;&#1114111;</r>", "\xf0\x90\x80\x80\xf4\x8f\xbf\xbf\xf4\x8f\xbf\xbf");
    expectText("<r>&#0000000000000000000000000000000065;</r>", "A");
}

TEST(CharacterReference, inAttributes_areRefused) {
    expectReferenceRefused("<r a=\"&#0;\"/>", "line 1, column 7");
    expectReferenceRefused("<r a='>' b='\"&#xD800;'/>", "line 1, column 14");
    expectReferenceRefused("<r a=\"<!--\" b=\"&#1;\"/>", "line 1, column 16");
}

TEST(CharacterReference, outsideTheRoot_isRefused) {
    expectReferenceRefused("&#0;<r/>", "line 1, column 1");
}

TEST(CharacterReference, afterOpaqueMarkup_isRefused) {
    expectReferenceRefused("<r><!-- &#0; -->&#0;</r>", "line 1, column 17");
    expectReferenceRefused("<!DOCTYPE r [<!ENTITY e \"]>\"> <!-- ]> -->]><r>&#0;</r>", "line 1, column 47");
    expectReferenceRefused("<r><![CDATA[<a b=\"]]>&#0;</r>", "line 1, column 22");
}

TEST(CharacterReference, whereTheyArePlainText_areNoReferences) {
    expectText("<?pi &#0;?><!DOCTYPE r [<!ENTITY e \"&#0;\">]><r><!-- &#0; --><![CDATA[&#0;]]></r>", "&#0;");
    expectText("<r>&amp;#0;</r>", "&#0;");
}

TEST(CharacterReference, incompleteOnes_areText) {
    for (const std::string text :
         {"&#", "&#;", "&#x;", "&#0", "&#0 ;", "&# 0;", "&#x", "&#xg;", "&#-1;", "&#X0;", "#0;", "& #0;", "&#1a;"}) {
        expectText("<r>" + text + "</r>", text);
        expectText("<r>" + text + " </r>", text + " ");
    }
}

TEST(CharacterReference, atTheEndOfATruncatedDocument_isTheParsersProblem) {
    TestSupport::LogCapture log;
    EXPECT_EQ(textOf("<r>&#0"), "(null)");
    EXPECT_EQ(textOf("<r><!-- &#0;"), "(null)");
    EXPECT_EQ(textOf("<r a='&#0;"), "(null)");

    EXPECT_THAT(log.texts(), ElementsAre("XML error in 'test' at line 1, column 6: Start-end tags mismatch",
                                         "XML error in 'test' at line 1, column 12: Error parsing comment",
                                         "XML error in 'test' at line 1, column 7: " + REFUSED));
}

TEST(CharacterReference, manyInOpaqueMarkup_takeLinearTime) {
    std::string xml = "<r>";
    for (int i = 0; i < 200'000; ++i) {
        xml += "<!--&#0;--><![CDATA[&#0;]]>";
    }
    const auto root = DataSection::fromText(xml + "</r>", "test");

    ASSERT_TRUE(root);
    EXPECT_EQ(root->asString().size(), 800'000U);
}

TEST(ControlCharacters, ofAFile_areKeptAndWrittenRaw) {
    for (int code = 1; code < 0x20; ++code) {
        const std::string text{'a', static_cast<char>(code), 'b', static_cast<char>(code)};
        expectText("<r>" + text + "</r>", text);
        const std::string written = writtenText("<r>" + text + "</r>");
        EXPECT_EQ(written, "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<r>" + text + "</r>\n") << code;
    }
}

TEST(ControlCharacters, documentsReadBackWhatWasWritten) {
    for (const std::string& xml : std::vector<std::string>{
             "<r>\x1b[31m&amp;#27;</r>", "<r><![CDATA[&#27;\x1b]]>\x1b<![CDATA[&#0;]]>&amp;#1;</r>",
             "<r a=\"\x1b&amp;#27;&#10;\t\x01\"><a>\x02</a></r>", "<r><![CDATA[]]]]><![CDATA[>&#1;]]>\x01</r>",
             "<r>[&lt;![CDATA[\x01]]&gt;\x1f</r>", "<r>\x01</r>", "<r>\x01&#13;#01;</r>"}) {
        SCOPED_TRACE(xml);
        const std::string text = textOf(xml);
        const std::string written = writtenText(xml);
        EXPECT_NE(text, "(null)");
        EXPECT_EQ(textOf(written), text);
        EXPECT_EQ(writtenText(written), written);
    }
}

// pugixml passes its text on in pieces. Every position of such a piece's end relative to references and delimiters.
TEST(ControlCharacters, atEveryOffsetOfALongText_survive) {
    for (std::size_t offset = 0; offset < 64; ++offset) {
        std::string text(2'000 + offset, 'x');
        std::string xml = "<r>" + text;
        for (int i = 0; i < 400; ++i) {
            xml += "\x01<![CDATA[&#02;]]]>]]&amp;#03;";
            text += "\x01&#02;]]]&#03;";
            text.insert(text.size() - 5, i % 2 == 0 ? ">" : "");
        }
        const std::string read = textOf(xml + "</r>");
        ASSERT_NE(read, "(null)");
        ASSERT_EQ(textOf(writtenText(xml + "</r>")), read) << offset;
    }
}

TEST(ControlCharacters, setInMemory_surviveTheFile) {
    const auto root = DataSection::create("r");
    std::string text;
    for (int code = 1; code < 0x20; ++code) {
        text += static_cast<char>(code);
    }
    root->setString(text);

    EXPECT_EQ(textOf(root->toText()), text);
}

} // namespace Kiln
