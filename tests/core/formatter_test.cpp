#include <core/formatter.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstddef>
#include <string>

namespace Kiln::Tests {
namespace {

__attribute__((format(printf, 1, 2))) std::string formatThroughList(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = formatTextList(format, arguments);
    va_end(arguments);
    return text;
}

TEST(Formatter, textWithoutArguments_isKept) {
    EXPECT_EQ(formatText("plain"), "plain");
}

TEST(Formatter, arguments_followTheRulesOfPrintf) {
    EXPECT_EQ(formatText("%s [%lu] >= [%d] %5.2f%%", "node", 18446744073709551615UL, -3, 1.5),
              "node [18446744073709551615] >= [-3]  1.50%");
}

TEST(Formatter, emptyResult_isEmpty) {
    EXPECT_EQ(formatText("%s", ""), "");
}

TEST(Formatter, textsAroundTheLengthOfTheInnerBuffer_areComplete) {
    for (std::size_t length = 505; length < 520; ++length) {
        const std::string text(length, 'x');
        EXPECT_EQ(formatText("%s", text.c_str()), text) << length;
    }
}

TEST(Formatter, veryLongText_isComplete) {
    const std::string text(1'000'000, 'y');

    EXPECT_EQ(formatText("<%s|%d>", text.c_str(), 42), "<" + text + "|42>");
}

TEST(Formatter, argumentList_formatsShortAndLongTexts) {
    const std::string text(3000, 'z');

    EXPECT_EQ(formatThroughList("%d %s", 1, "short"), "1 short");
    EXPECT_EQ(formatThroughList("%d %s %d", 1, text.c_str(), 2), "1 " + text + " 2");
}

TEST(Formatter, invalidFormat_yieldsTheFormatText) {
    // The C locale can't encode this character; this is the portable way to make printf fail.
    EXPECT_EQ(formatText("broken %lc", static_cast<wint_t>(0x4e2d)), "broken %lc");
}

} // namespace
} // namespace Kiln::Tests
