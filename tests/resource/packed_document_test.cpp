#include "pack_support.h"

#include <common/matrix.h>
#include <common/uuid.h>
#include <resource/plain_text.h>
#include <resource/resource_limits.h>

#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln {

namespace {

using testing::ElementsAre;

class PackedDocument : public TestSupport::PackFixture {};

const std::string UUID_TEXT = "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001";
const std::string MATRIX_TEXT = "1 0 0 0 0 1 0 0 0 0 1 0 2.5 -3 1e+20 1";

/// The elements as text, without anything that a pack does not keep.
[[nodiscard]] std::string textOf(const SmartPointer<DataSection>& section) {
    return section ? plainText(section->node()) : "null";
}

TEST_F(PackedDocument, elements_areThoseOfTheText) {
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<prefab>\n\t<name>Lamp</name>\n\t<list>\n\t\t"
        "<value>1</value>\n\t\t<value></value>\n\t</list>\n\t<last>&lt;&amp;&gt;</last>\n</prefab>\n";
    const SmartPointer<DataSection> section = readBack(text);
    EXPECT_EQ(section->toText(), text);
    EXPECT_EQ(section->source(), "a.prefab");
}

TEST_F(PackedDocument, compressedElements_areThoseOfTheText) {
    std::string text = "<prefab>";
    for (int i = 0; i < 100; ++i) {
        text += "<item><index>" + std::to_string(i) + "</index><id>" +
                Uuid(1, static_cast<std::uint64_t>(i)).toString() + "</id><name>Object " + std::to_string(i) +
                "</name></item>";
    }
    text += "</prefab>";
    const SmartPointer<DataSection> section = readBack(text, true, true);
    EXPECT_EQ(textOf(section), textOf(DataSection::fromText(text, "")));
    EXPECT_EQ(section->openSection("item", false)->openSection("name", false)->position(),
              DataSection::fromText(text, "")->openSection("item", false)->openSection("name", false)->position());
}

TEST_F(PackedDocument, textBesideChildren_isKept) {
    const SmartPointer<DataSection> section = readBack("<a>one<b/>two<c>3</c><![CDATA[ three]]></a>");
    EXPECT_EQ(section->asString(), "onetwo three");
    EXPECT_EQ(textOf(section->openSection("c", false)), textOf(DataSection::fromText("<c>3</c>", "")));
}

TEST_F(PackedDocument, everyTextStaysTheSame) {
    for (const std::string text : {"0",
                                   "35",
                                   "4294967295",
                                   "4294967296",
                                   "-1",
                                   "+1",
                                   "007",
                                   "00",
                                   "-0",
                                   "1.5",
                                   "1.50",
                                   "0.1",
                                   "1e+20",
                                   "1e20",
                                   "100000000000000000000",
                                   "inf",
                                   "-inf",
                                   "nan",
                                   "-nan",
                                   "infinity",
                                   "NaN",
                                   "0x10",
                                   "16777217",
                                   "1e-45",
                                   "true",
                                   " 1",
                                   "1 ",
                                   " ",
                                   "\t\n",
                                   "text",
                                   "1,5",
                                   "\x1b",
                                   "ä",
                                   "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001",
                                   "5B0F1C2E-6A0D-4F43-9F6E-0D9A35B1C001",
                                   " 5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001",
                                   "1 0 0 0 0 1 0 0 0 0 1 0 2.5 -3 1e+20 1",
                                   "1 0 0 0  0 1 0 0 0 0 1 0 2.5 -3 1e+20 1",
                                   "1 0 0 0 0 1 0 0 0 0 1 0 2.5 -3 1e+20",
                                   "-0 0 0 nan 0 1 0 0 0 0 1 0 inf 0 0 1",
                                   "1.0 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1"}) {
        const std::string document = "<a><b>" + text + "</b></a>";
        EXPECT_EQ(readBack(document)->readString("b"), text);
    }
}

TEST_F(PackedDocument, longText_staysTheSame) {
    for (const std::size_t size : {127U, 128U, 16383U, 16384U, 100'000U}) {
        const std::string text(size, 'x');
        EXPECT_EQ(readBack("<a><b>" + text + "</b></a>")->readString("b"), text);
    }
}

TEST_F(PackedDocument, textsThatTwoDocumentsHave_areShared) {
    std::vector<PackDocument> documents;
    const std::string text(10'000, 'x');
    documents.push_back(TestSupport::packedDocument("b.prefab", "<a><b>" + text + "</b></a>"));
    documents.push_back(TestSupport::packedDocument("a.prefab", "<c>" + text + "</c>"));
    const std::string pack = write("game.kilnpack", std::move(documents));
    EXPECT_LT(bytesOf(pack).size(), 2 * text.size());
    FS::Utils::addResourcePack(pack);
    EXPECT_EQ(FS::Utils::openXmlSection("a.prefab", true)->asString(), text);
    EXPECT_EQ(FS::Utils::openXmlSection("b.prefab", true)->readString("b"), text);
}

TEST_F(PackedDocument, typedReads_yieldTheValuesOfTheText) {
    const std::string text = "<a><number>35</number><float>-2.5</float><bool>1</bool><uuid>" + UUID_TEXT +
                             "</uuid><matrix>" + MATRIX_TEXT + "</matrix><word>red</word></a>";
    const SmartPointer<DataSection> parsed = DataSection::fromText(text, "");
    const SmartPointer<DataSection> packed = readBack(text);
    for (const char* const name : {"number", "float", "bool", "uuid", "matrix", "word", "missing"}) {
        EXPECT_EQ(packed->readInt64(name, 7), parsed->readInt64(name, 7)) << name;
        EXPECT_EQ(packed->readUInt64(name, 7), parsed->readUInt64(name, 7)) << name;
        EXPECT_EQ(packed->readDouble(name, 7), parsed->readDouble(name, 7)) << name;
        EXPECT_EQ(packed->readBool(name, true), parsed->readBool(name, true)) << name;
        EXPECT_EQ(packed->readUuid(name), parsed->readUuid(name)) << name;
        EXPECT_EQ(packed->readMatrix(name), parsed->readMatrix(name)) << name;
        EXPECT_EQ(packed->readString(name), parsed->readString(name)) << name;
    }
}

TEST_F(PackedDocument, valueKind_isThatOfTheText) {
    const SmartPointer<DataSection> section =
        readBack("<a><i>35</i><f>-2.5</f><u>" + UUID_TEXT + "</u><m>" + MATRIX_TEXT + "</m><t>035</t></a>");
    EXPECT_EQ(section->node().child("i").integerValue(), 35U);
    EXPECT_EQ(section->node().child("f").floatValue(), -2.5F);
    EXPECT_EQ(section->node().child("u").uuidValue(), Uuid::fromString(UUID_TEXT));
    EXPECT_EQ(section->node().child("m").matrixValue(), Matrix::fromString(MATRIX_TEXT));
    EXPECT_EQ(section->node().child("t").valueKind(), DataValueKind::TEXT);
    EXPECT_EQ(DataSection::fromText("<i>35</i>", "")->node().valueKind(), DataValueKind::TEXT);
}

TEST_F(PackedDocument, positions_areThoseOfTheFile) {
    const SmartPointer<DataSection> section = readBack("<a>\n  <b/>\n</a>", false, true);
    EXPECT_EQ(section->openSection("b", false)->position(), (DataPosition{2, 3}));
}

TEST_F(PackedDocument, withoutPositions_theyAreUnknown) {
    EXPECT_EQ(readBack("<a>\n  <b/>\n</a>")->openSection("b", false)->position(), DataPosition());
}

TEST_F(PackedDocument, changes_areRefused) {
    const SmartPointer<DataSection> section = readBack("<a><b>1</b></a>");
    section->writeString("b", "2");
    section->newSection("c");
    EXPECT_EQ(textOf(section), textOf(DataSection::fromText("<a><b>1</b></a>", "")));
    EXPECT_THAT(m_log.texts(), ElementsAre("The element 'b' cannot be changed: its document is in a resource pack",
                                           "The element 'a' cannot be changed: its document is in a resource pack"));
    m_log.clear();
}

TEST_F(PackedDocument, deepDocument_isKeptWithoutRecursion) {
    const ResourceLimits limits = resourceLimits();
    setResourceLimits({limits.fileSize, 100'000});
    std::string text;
    for (int i = 0; i < 100'000; ++i) {
        text += "<a>";
    }
    for (int i = 0; i < 100'000; ++i) {
        text += "</a>";
    }
    const SmartPointer<DataSection> parsed = DataSection::fromText(text, "");
    const SmartPointer<DataSection> packed = readBack(text);
    ASSERT_TRUE(packed);
    std::size_t depth = 0;
    for (DataNode node = packed->node(); node; node = node.firstChild()) {
        ++depth;
    }
    EXPECT_EQ(depth, 100'000U);
    setResourceLimits(limits);
    EXPECT_FALSE(FS::Utils::openXmlSection("a.prefab", true));
    EXPECT_THAT(m_log.texts(),
                ElementsAre("Cannot read 'a.prefab': its elements are nested deeper than the limit of 1000"));
    m_log.clear();
}

TEST_F(PackedDocument, fileThatIsKeptAsText_isParsed) {
    PackDocument document = PackDocument::fromText("<a><b>1</b>");
    document.path = "a.prefab";
    FS::Utils::addResourcePack(write("game.kilnpack", std::move(document)));
    EXPECT_FALSE(FS::Utils::openXmlSection("a.prefab", true));
    EXPECT_THAT(m_log.texts(), ElementsAre("XML error in 'a.prefab' at line 1, column 11: Start-end tags mismatch"));
    m_log.clear();
}

} // namespace

} // namespace Kiln
