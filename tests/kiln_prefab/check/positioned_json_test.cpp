#include <kiln_prefab/check/positioned_json.h>

#include "expect_error.h"

namespace Kiln::PrefabToolTests {

namespace {

using PrefabTool::PositionedJson;
using PrefabTool::readPositionedJson;

TEST(PositionedJson, values_knowTheirLines) {
    const PositionedJson document = readPositionedJson("{\n\"a\": [\n1\n,\n\"x\"],\n\n\"b\":\ntrue}", "f");
    ASSERT_EQ(document.type, PositionedJson::Type::OBJECT);
    EXPECT_EQ(document.line, 1U);
    ASSERT_EQ(document.members.size(), 2U);
    const PositionedJson::Member& list = document.members[0];
    EXPECT_EQ(list.key, "a");
    EXPECT_EQ(list.line, 2U);
    ASSERT_EQ(list.value.elements.size(), 2U);
    EXPECT_EQ(list.value.elements[0].type, PositionedJson::Type::NUMBER);
    EXPECT_EQ(list.value.elements[0].line, 3U);
    EXPECT_EQ(list.value.elements[1].string, "x");
    EXPECT_EQ(list.value.elements[1].line, 5U);
    EXPECT_EQ(document.members[1].line, 7U);
    EXPECT_EQ(document.members[1].value.line, 8U);
    EXPECT_TRUE(document.members[1].value.boolean);
}

TEST(PositionedJson, memberThatIsRepeated_isKept) {
    EXPECT_EQ(readPositionedJson(R"({"a":1,"a":2})", "f").members.size(), 2U);
}

TEST(PositionedJson, textThatIsNoJson_isReportedWithItsLine) {
    EXPECT_EQ(errorOf([] { (void)readPositionedJson("{\n\"a\": 1,\n}", "f"); }),
              "f:3: syntax error while parsing object key - unexpected '}'; expected string literal");
    EXPECT_EQ(errorOf([] { (void)readPositionedJson("", "f"); }),
              "f:1: syntax error while parsing value - unexpected end of input; expected '[', '{', or a literal");
}

TEST(PositionedJson, deepNesting_isRefused) {
    EXPECT_EQ(errorOf([] { (void)readPositionedJson(std::string(100'000, '['), "f"); }),
              "f:1: Values are nested deeper than the limit of 64");
}

} // namespace

} // namespace Kiln::PrefabToolTests
