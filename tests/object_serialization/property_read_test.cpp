#include "document_fixture.h"

#include <cmath>
#include <limits>
#include <ostream>

namespace Kiln::SerializationTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ReadingValues : public PropertiesFixture<ValuesComponent> {};

TEST_F(ReadingValues, absentProperties_keepTheirDefaults) {
    read("");
    const Config fresh;
    EXPECT_TRUE(mirra::arePropertiesEqual(meta(), &config, &fresh));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, nullSection_keepsTheDefaults) {
    readProperties(*parse("<properties/>"), DataNode(), view(config), "Name");
    EXPECT_EQ(config.int32, 32);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, objectWithoutDescription_isLeftAlone) {
    const SmartPointer<DataSection> document = parse("<properties><a>1</a></properties>");
    readProperties(*document, document->node(), mirra::ReflectedObject(), "Name");
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, boolean_bothSpellings) {
    read("<flag>false</flag>");
    EXPECT_FALSE(config.flag);
    read("<flag>true</flag>");
    EXPECT_TRUE(config.flag);
    read("<flag>0</flag>");
    EXPECT_FALSE(config.flag);
    read("<flag>1</flag>");
    EXPECT_TRUE(config.flag);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, integers_lowestValues) {
    read("<int8>-128</int8><int16>-32768</int16><int32>-2147483648</int32><int64>-9223372036854775808</int64>"
         "<uint8>0</uint8><uint16>0</uint16><uint32>0</uint32><uint64>0</uint64>");
    EXPECT_EQ(config.int8, std::numeric_limits<std::int8_t>::min());
    EXPECT_EQ(config.int16, std::numeric_limits<std::int16_t>::min());
    EXPECT_EQ(config.int32, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(config.int64, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(config.uint8, 0U);
    EXPECT_EQ(config.uint16, 0U);
    EXPECT_EQ(config.uint32, 0U);
    EXPECT_EQ(config.uint64, 0U);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, integers_highestValues) {
    read("<int8>127</int8><int16>32767</int16><int32>2147483647</int32><int64>9223372036854775807</int64>"
         "<uint8>255</uint8><uint16>65535</uint16><uint32>4294967295</uint32><uint64>18446744073709551615</uint64>");
    EXPECT_EQ(config.int8, std::numeric_limits<std::int8_t>::max());
    EXPECT_EQ(config.int16, std::numeric_limits<std::int16_t>::max());
    EXPECT_EQ(config.int32, std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(config.int64, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(config.uint8, std::numeric_limits<std::uint8_t>::max());
    EXPECT_EQ(config.uint16, std::numeric_limits<std::uint16_t>::max());
    EXPECT_EQ(config.uint32, std::numeric_limits<std::uint32_t>::max());
    EXPECT_EQ(config.uint64, std::numeric_limits<std::uint64_t>::max());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, floats) {
    read("<single>-1.5e3</single><real>0.1</real>");
    EXPECT_EQ(config.single, -1500.0F);
    EXPECT_EQ(config.real, 0.1);
    read("<single>inf</single><real>-inf</real>");
    EXPECT_EQ(config.single, std::numeric_limits<float>::infinity());
    EXPECT_EQ(config.real, -std::numeric_limits<double>::infinity());
    read("<single>nan</single>");
    EXPECT_TRUE(std::isnan(config.single));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, uuidMatrixAndLink) {
    read("<uuid>5B0F1C2E-6a0d-4f43-9f6e-0d9a35b1c001</uuid>"
         "<matrix>1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16</matrix>"
         "<link>00000000-0000-0001-0000-000000000002</link>");
    EXPECT_EQ(config.uuid, Uuid(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001));
    EXPECT_EQ(config.matrix.at(3, 0), 13.0F);
    EXPECT_EQ(config.link.uuid(), Uuid(1, 2));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, whiteSpaceAroundAllButStrings_isIgnored) {
    read("<flag>\n\tfalse </flag><int32> \t5\r\n</int32><real>\n2\n</real>"
         "<uuid> 00000000-0000-0000-0000-000000000009\n</uuid><link>\n 00000000-0000-0000-0000-000000000008 </link>"
         "<matrix>\n0 0 0 0  0 0 0 0\n0 0 0 0\t0 0 0 0 </matrix>");
    EXPECT_FALSE(config.flag);
    EXPECT_EQ(config.int32, 5);
    EXPECT_EQ(config.real, 2.0);
    EXPECT_EQ(config.uuid, Uuid(0, 9));
    EXPECT_EQ(config.link.uuid(), Uuid(0, 8));
    EXPECT_EQ(config.matrix.at(0, 0), 0.0F);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, strings_areKeptByteForByte) {
    read("<text>  two words \n\t&lt;tag&gt; &amp; \"quotes\" \xC3\xA4 </text>");
    EXPECT_EQ(config.text, "  two words \n\t<tag> & \"quotes\" \xC3\xA4 ");
    read("<text>   </text>");
    EXPECT_EQ(config.text, "   ");
    read("<text><![CDATA[<a> & </b>]]></text>");
    EXPECT_EQ(config.text, "<a> & </b>");
    read("<text>one<![CDATA[ two ]]>three</text>");
    EXPECT_EQ(config.text, "one two three");
    read("<text></text>");
    EXPECT_EQ(config.text, "");
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, attributesAndComments_areIgnored) {
    read("<int32 unit=\"m\"><!-- five -->5</int32><!-- done -->");
    EXPECT_EQ(config.int32, 5);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, anyOrder_andTheLastOfSeveralWins) {
    read("<real>2</real><int8>1</int8><int64>3</int64><int8>4</int8>");
    EXPECT_EQ(config.int8, 4);
    EXPECT_EQ(config.int64, 3);
    EXPECT_EQ(config.real, 2.0);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, unknownProperty_isAWarningAndTheOthersAreRead) {
    read("\n<int8>1</int8>\n<colour>red</colour>\n<int16>2</int16>");
    EXPECT_EQ(config.int8, 1);
    EXPECT_EQ(config.int16, 2);
    EXPECT_THAT(log.messages(),
                ElementsAre(propertyWarning(
                    "Component 'Name': property 'colour' is not known and is skipped (test.prefab, line 3)")));
}

TEST_F(ReadingValues, handler_getsTheProblemsInPlaceOfTheLog) {
    std::vector<std::string> problems;
    const Tessel::DeseriralizeErrorHandler collecting{
        "lamp", [&problems](const std::string& text) { problems.push_back(text); }};
    handler = &collecting;
    read("<colour>red</colour><int8>x</int8><int16>2</int16>");
    EXPECT_EQ(config.int16, 2);
    EXPECT_THAT(problems,
                ElementsAre("lamp. Component 'Name': property 'colour' is not known and is skipped (test.prefab, "
                            "line 1)",
                            "lamp. Component 'Name': property 'int8' can't be read as int8 from 'x' (test.prefab, "
                            "line 1)"));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingValues, messageWithPercentSigns_isLoggedUnchanged) {
    read("<int8>%s%n</int8>");
    EXPECT_THAT(log.messages(),
                ElementsAre(propertyError(
                    "Component 'Name': property 'int8' can't be read as int8 from '%s%n' (test.prefab, line 1)")));
}

TEST_F(ReadingValues, documentMadeInMemory_hasNeitherSourceNorLine) {
    const SmartPointer<DataSection> document = DataSection::create("properties");
    document->writeString("int8", "x");
    readProperties(*document, document->node(), view(config), "Name");
    EXPECT_THAT(log.messages(), ElementsAre(propertyError("Component 'Name': property 'int8' can't be read as int8 "
                                                          "from 'x' (, line 0)")));
}

struct Unreadable {
    std::string property;
    std::string type;
    std::string text;

    /// Part of the test's name.
    friend std::ostream& operator<<(std::ostream& stream, const Unreadable& value) {
        return stream << value.property << " '" << value.text << "'";
    }
};

class UnreadableValue : public PropertiesFixture<ValuesComponent>, public testing::WithParamInterface<Unreadable> {};

TEST_P(UnreadableValue, isAnErrorAndLeavesTheDefault) {
    const auto& [property, type, text] = GetParam();
    read("\n\n<" + property + "> " + text + " </" + property + ">");
    const Config fresh;
    EXPECT_TRUE(mirra::arePropertiesEqual(meta(), &config, &fresh));
    EXPECT_THAT(log.messages(),
                ElementsAre(propertyError("Component 'Name': property '" + property + "' can't be read as " + type +
                                          " from ' " + text + " ' (test.prefab, line 3)")));
}

INSTANTIATE_TEST_SUITE_P(Values, UnreadableValue,
                         testing::Values(Unreadable{"flag", "bool", "yes"}, Unreadable{"flag", "bool", "2"},
                                         Unreadable{"flag", "bool", "True"}, Unreadable{"flag", "bool", ""},
                                         Unreadable{"int8", "int8", "128"}, Unreadable{"int8", "int8", "-129"},
                                         Unreadable{"int16", "int16", "32768"}, Unreadable{"int16", "int16", "-32769"},
                                         Unreadable{"int32", "int32", "2147483648"},
                                         Unreadable{"int32", "int32", "-2147483649"},
                                         Unreadable{"int32", "int32", "1.5"}, Unreadable{"int32", "int32", "0x10"},
                                         Unreadable{"int32", "int32", "+1"}, Unreadable{"int32", "int32", "1 2"},
                                         Unreadable{"int64", "int64", "9223372036854775808"},
                                         Unreadable{"uint8", "uint8", "256"}, Unreadable{"uint8", "uint8", "-1"},
                                         Unreadable{"uint16", "uint16", "65536"},
                                         Unreadable{"uint32", "uint32", "4294967296"},
                                         Unreadable{"uint64", "uint64", "18446744073709551616"},
                                         Unreadable{"uint64", "uint64", "-1"}, Unreadable{"single", "float", "1e99"},
                                         Unreadable{"single", "float", "1,5"}, Unreadable{"real", "double", "fast"},
                                         Unreadable{"real", "double", "1e999"}, Unreadable{"uuid", "Uuid", "5b0f1c2e"},
                                         Unreadable{"uuid", "Uuid", "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c00g"},
                                         Unreadable{"matrix", "Matrix", "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0"},
                                         Unreadable{"matrix", "Matrix", "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 0"},
                                         Unreadable{"link", "link", "lamp"}, Unreadable{"link", "link", ""}));

} // namespace
} // namespace Kiln::SerializationTests
