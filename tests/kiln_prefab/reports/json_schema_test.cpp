#include "json_schema.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {

namespace {

using Json = nlohmann::ordered_json;
using testing::ElementsAre;
using testing::IsEmpty;

[[nodiscard]] std::vector<std::string> problems(const char* schema, const char* document) {
    return schemaProblems(Json::parse(schema), Json::parse(document));
}

TEST(JsonSchema, matchingDocument_hasNoProblems) {
    EXPECT_THAT(problems(R"({"type":"object","required":["a"],"properties":{"a":{"$ref":"#/$defs/n"}},
                             "additionalProperties":false,"$defs":{"n":{"type":["integer","null"],"minimum":1}}})",
                         R"({"a":1})"),
                IsEmpty());
}

TEST(JsonSchema, eachKeyword_findsItsProblem) {
    EXPECT_THAT(problems(R"({"type":"string"})", "1"), ElementsAre(R"(: has another type than "string")"));
    EXPECT_THAT(problems(R"({"const":1})", "2"), ElementsAre(": is not 1"));
    EXPECT_THAT(problems(R"({"enum":["a","b"]})", R"("c")"), ElementsAre(R"(: is none of ["a","b"])"));
    EXPECT_THAT(problems(R"({"pattern":"^a$"})", R"("b")"), ElementsAre(R"(: does not match "^a$")"));
    EXPECT_THAT(problems(R"({"minimum":1})", "0"), ElementsAre(": is less than 1"));
    EXPECT_THAT(problems(R"({"minItems":1})", "[]"), ElementsAre(": has fewer items than 1"));
    EXPECT_THAT(problems(R"({"required":["a"]})", "{}"), ElementsAre(": lacks the property a"));
    EXPECT_THAT(problems(R"({"properties":{},"additionalProperties":false})", R"({"a":1})"),
                ElementsAre(": has the property a"));
    EXPECT_THAT(problems(R"({"properties":{"a":{"const":1}}})", R"({"a":2})"), ElementsAre("/a: is not 1"));
    EXPECT_THAT(problems(R"({"items":{"const":1}})", "[1,2]"), ElementsAre("/1: is not 1"));
}

TEST(JsonSchema, unknownKeyword_isAProblem) {
    EXPECT_THAT(problems(R"({"maximum":1})", "0"), ElementsAre(": the schema has the unknown keyword maximum"));
}

} // namespace

} // namespace Kiln::PrefabToolTests
