#include <kiln_prefab/report/data_text.h>

#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace Kiln::PrefabTool {
namespace {

[[nodiscard]] std::string jsonString(std::string_view text) {
    std::string output;
    appendJsonString(output, text);
    return output;
}

TEST(DataText, plainText_staysAsItIs) {
    EXPECT_EQ(jsonString("Lamp by the gate, 12 %"), R"("Lamp by the gate, 12 %")");
    EXPECT_EQ(jsonString(""), R"("")");
}

TEST(DataText, endOfScript_isEscaped) {
    EXPECT_EQ(jsonString("</script><!--&"), R"("\u003c/script\u003e\u003c!--\u0026")");
}

TEST(DataText, quotesAndControlCharacters_areEscaped) {
    EXPECT_EQ(jsonString("\"\\\n\x1b\x7f"), R"("\u0022\u005c\u000a\u001b\u007f")");
}

TEST(DataText, otherCharacters_areWrittenAsUtf16) {
    EXPECT_EQ(jsonString("\u00e4\u2028\u2029\u202e"), R"("\u00e4\u2028\u2029\u202e")");
    EXPECT_EQ(jsonString("\U0001F6A2"), R"("\ud83d\udea2")");
}

TEST(DataText, bytesThatAreNotUtf8_becomeReplacementCharacters) {
    EXPECT_EQ(jsonString("a\x80z"), R"("a\ufffdz")");
    EXPECT_EQ(jsonString("\xc3"), R"("\ufffd")");
    EXPECT_EQ(jsonString("\xc0\xaf"), R"("\ufffd\ufffd")");                     // Too long a form of '/'.
    EXPECT_EQ(jsonString("\xed\xa0\x80"), R"("\ufffd\ufffd\ufffd")");           // Half of a pair.
    EXPECT_EQ(jsonString("\xf4\x90\x80\x80"), R"("\ufffd\ufffd\ufffd\ufffd")"); // Beyond Unicode.
}

TEST(DataText, anyBytes_areReadBackAsOtherWritersWriteThem) {
    std::string bytes;
    for (int i = 1; i < 3000; ++i) {
        bytes += static_cast<char>((i * 197 + i / 7) & 0xFF);
    }
    const std::string text = jsonString("\u00e4" + std::string("x</script>\u2028\U0001F6A2"));
    EXPECT_EQ(nlohmann::json::parse(text).get<std::string>(), "\u00e4x</script>\u2028\U0001F6A2");
    EXPECT_TRUE(nlohmann::json::accept(jsonString(bytes)));
    for (const char letter : jsonString(bytes)) {
        EXPECT_TRUE(letter >= 0x20 && letter < 0x7f && letter != '<' && letter != '>' && letter != '&');
    }
}

TEST(DataText, numbers_areAList) {
    std::string output;
    appendNumbers(output, std::vector<int>{1, -2, 30});
    appendNumbers(output, std::vector<int>());
    EXPECT_EQ(output, "[1,-2,30][]");
}

TEST(DataText, table_hasEachTextOnce) {
    TextTable texts;
    EXPECT_EQ(texts.add("lamp"), 0U);
    EXPECT_EQ(texts.add("quay"), 1U);
    EXPECT_EQ(texts.add("lamp"), 0U);
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[1], "quay");
}

} // namespace
} // namespace Kiln::PrefabTool
