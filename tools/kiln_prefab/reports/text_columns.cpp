#include <kiln_prefab/reports/text_columns.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace Kiln::PrefabTool {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

/// Combining marks, joiners and variation selectors.
constexpr std::array<Range, 8> NARROWEST{{{0x0300, 0x036f},
                                          {0x0483, 0x0489},
                                          {0x0591, 0x05bd},
                                          {0x064b, 0x065f},
                                          {0x1ab0, 0x1aff},
                                          {0x200b, 0x200d},
                                          {0x20d0, 0x20ff},
                                          {0xfe00, 0xfe0f}}};

/// East Asian characters and pictographs.
constexpr std::array<Range, 10> WIDE{{{0x1100, 0x115f},
                                      {0x2e80, 0x303e},
                                      {0x3041, 0xa4cf},
                                      {0xac00, 0xd7a3},
                                      {0xf900, 0xfaff},
                                      {0xfe30, 0xfe6f},
                                      {0xff00, 0xff60},
                                      {0xffe0, 0xffe6},
                                      {0x1f300, 0x1faff},
                                      {0x20000, 0x3fffd}}};

template <std::size_t COUNT>
[[nodiscard]] bool isIn(const std::array<Range, COUNT>& ranges, char32_t codePoint) noexcept {
    return std::any_of(ranges.begin(), ranges.end(),
                       [codePoint](const Range& range) { return range.first <= codePoint && codePoint <= range.last; });
}

/// Number of bytes of the character that begins with `lead`; 0 if none does.
[[nodiscard]] std::size_t sizeOf(std::uint8_t lead) noexcept {
    if (lead < 0x80) {
        return 1;
    }
    return lead < 0xc2 || lead > 0xf4 ? 0 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
}

} // namespace

Utf8Character firstCharacter(std::string_view text) noexcept {
    const auto lead = static_cast<std::uint8_t>(text[0]);
    const Utf8Character invalid{1, lead, false};
    const std::size_t size = sizeOf(lead);
    if (size == 1) {
        return {1, lead, true};
    }
    if (size == 0 || size > text.size()) {
        return invalid;
    }
    char32_t codePoint = lead & (0x7fU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        const auto byte = static_cast<std::uint8_t>(text[i]);
        if ((byte & 0xc0U) != 0x80) {
            return invalid;
        }
        codePoint = codePoint << 6U | (byte & 0x3fU);
    }
    constexpr std::array<char32_t, 5> SMALLEST{0, 0, 0x80, 0x800, 0x10000}; // By the number of bytes.
    const bool isSurrogate = codePoint >= 0xd800 && codePoint <= 0xdfff;
    return codePoint < SMALLEST[size] || codePoint > 0x10ffff || isSurrogate ? invalid
                                                                             : Utf8Character{size, codePoint, true};
}

std::size_t displayWidth(char32_t codePoint) noexcept {
    return isIn(NARROWEST, codePoint) ? 0 : isIn(WIDE, codePoint) ? 2 : 1;
}

std::size_t characterColumn(std::string_view line, std::size_t byteColumn) noexcept {
    std::size_t column = 1;
    std::size_t offset = 0;
    while (offset + 1 < byteColumn && offset < line.size()) {
        offset += firstCharacter(line.substr(offset)).size;
        ++column;
    }
    return offset + 1 < byteColumn ? column + (byteColumn - 1 - offset) : column;
}

} // namespace Kiln::PrefabTool
