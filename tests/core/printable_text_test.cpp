#include <core/printable_text.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace Kiln::Tests {
namespace {

/// Every byte as \xNN.
std::string escapeAll(std::string_view bytes) {
    std::string result;
    for (const char byte : bytes) {
        std::array<char, 8> escape;
        std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        result += escape.data();
    }
    return result;
}

/// In UTF-8; `codePoint` is below U+10000 and may be a surrogate.
std::string encode(unsigned codePoint) {
    if (codePoint < 0x80) {
        return {static_cast<char>(codePoint)};
    }
    if (codePoint < 0x800) {
        return {static_cast<char>(0xc0U | codePoint >> 6U), static_cast<char>(0x80U | (codePoint & 0x3fU))};
    }
    return {static_cast<char>(0xe0U | codePoint >> 12U), static_cast<char>(0x80U | (codePoint >> 6U & 0x3fU)),
            static_cast<char>(0x80U | (codePoint & 0x3fU))};
}

TEST(PrintableText, ordinaryText_staysTheSame) {
    for (const std::string_view text : {"", "lamp", "a b\\n", "Möwe", "кран", "灯台", "\xf0\x9f\x9a\xa2",
                                        "\xf4\x8f\xbf\xbf", "\u00a0", "~ \u07ff \u0800"}) {
        EXPECT_EQ(printableText(text), text);
    }
}

TEST(PrintableText, everyControlCharacter_isEscaped) {
    for (unsigned codePoint = 0; codePoint < 0xa0; codePoint = codePoint == 0x1f ? 0x7f : codePoint + 1) {
        const std::string text = encode(codePoint);
        EXPECT_EQ(printableText("a" + text + "b"), "a" + escapeAll(text) + "b");
    }
    EXPECT_EQ(printableText("\x1b[31m\n\t"), "\\x1b[31m\\x0a\\x09");
    EXPECT_EQ(printableText("\u009b"), "\\xc2\\x9b");
}

TEST(PrintableText, separatorsAndDirectionControls_areEscapedAndTheirNeighboursAreNot) {
    const auto isEscaped = [](unsigned codePoint) { return printableText(encode(codePoint)) != encode(codePoint); };
    for (const auto& [first, last] :
         {std::pair{0x61cU, 0x61cU}, {0x200eU, 0x200fU}, {0x2028U, 0x202eU}, {0x2066U, 0x2069U}}) {
        EXPECT_FALSE(isEscaped(first - 1)) << first;
        EXPECT_FALSE(isEscaped(last + 1)) << last;
        for (unsigned codePoint = first; codePoint <= last; ++codePoint) {
            EXPECT_EQ(printableText(encode(codePoint)), escapeAll(encode(codePoint)));
        }
    }
}

TEST(PrintableText, everyByteThatIsNotUtf8_isEscaped) {
    for (unsigned byte = 0x80; byte < 0x100; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        EXPECT_EQ(printableText(text), escapeAll(text));
        EXPECT_EQ(printableText("a" + text + "b"), "a" + escapeAll(text) + "b");
    }
}

TEST(PrintableText, malformedSequences_areEscapedByteByByte) {
    for (const std::string_view text : {
             "\xc0\x8a", "\xc1\xbf",                             // overlong
             "\xe0\x80\x8a", "\xe0\x9f\xbf", "\xf0\x8f\xbf\xbf", // overlong
             "\xed\xa0\x80", "\xed\xbf\xbf",                     // surrogates
             "\xf4\x90\x80\x80", "\xf5\x80\x80\x80",             // above U+10FFFF
             "\xc3", "\xe7\x81", "\xf0\x9f\x9a",                 // cut
         }) {
        EXPECT_EQ(printableText(text), escapeAll(text));
        EXPECT_EQ(printableText(std::string(text) + "x"), escapeAll(text) + "x");
    }
    EXPECT_EQ(printableText("\xc3ö"), "\\xc3ö");
}

TEST(PrintableText, longText_isComplete) {
    const std::string unit = "ab\nÄ\xff灯";
    std::string text;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        text += unit;
        expected += "ab\\x0aÄ\\xff灯";
    }
    EXPECT_EQ(printableText(text), expected);
}

TEST(CopyPrintable, smallBuffer_endsBeforeTheCharacterThatDoesNotFit) {
    std::array<char, 5> buffer{};
    const auto copy = [&buffer](std::string_view text) {
        const PrintableCopy result = copyPrintable(text, buffer);
        return std::pair(result.readCount, std::string(buffer.data(), result.writtenCount));
    };
    EXPECT_EQ(copy("abcdef"), std::pair(std::size_t{5}, std::string("abcde")));
    EXPECT_EQ(copy("abcdÄ"), std::pair(std::size_t{4}, std::string("abcd")));
    EXPECT_EQ(copy("a\nb"), std::pair(std::size_t{2}, std::string("a\\x0a")));
    EXPECT_EQ(copy("ab\n"), std::pair(std::size_t{2}, std::string("ab")));
    EXPECT_EQ(copy("\u009b"), std::pair(std::size_t{0}, std::string()));
    EXPECT_EQ(copy(""), std::pair(std::size_t{0}, std::string()));
}

TEST(ShortenedText, longText_isCutBetweenCharactersAndGivesItsSize) {
    EXPECT_EQ(shortenedText("abcdef", 6), "abcdef");
    EXPECT_EQ(shortenedText("abcdefg", 6), "abcdef… (7 bytes in all)");
    EXPECT_EQ(shortenedText("abcdeÄg", 6), "abcde… (8 bytes in all)");
    EXPECT_EQ(shortenedText("灯台", 3), "灯… (6 bytes in all)");
    EXPECT_EQ(shortenedText("灯台", 5), "灯… (6 bytes in all)");
    EXPECT_EQ(shortenedText("灯台", 2), "… (6 bytes in all)");
}

TEST(ShortenedText, continuationBytesWithoutACharacter_doNotMoveTheCutFar) {
    EXPECT_EQ(shortenedText(std::string(10, '\x80'), 6), std::string(3, '\x80') + "… (10 bytes in all)");
}

} // namespace
} // namespace Kiln::Tests
