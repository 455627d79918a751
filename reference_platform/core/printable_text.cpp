#include <core/printable_text.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace Kiln {

namespace {

/// The character at the beginning of a text, or a byte that belongs to none.
struct Unit {
    std::size_t size = 1; ///< In bytes.
    bool isPrintable = false;
};

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

/// Of the characters outside of ASCII.
constexpr std::array<Range, 5> UNPRINTABLE{
    {{0x80, 0x9f}, {0x061c, 0x061c}, {0x200e, 0x200f}, {0x2028, 0x202e}, {0x2066, 0x2069}}};

[[nodiscard]] bool isPrintable(std::uint32_t codePoint) noexcept {
    return std::none_of(UNPRINTABLE.begin(), UNPRINTABLE.end(), [codePoint](const Range& range) {
        return range.first <= codePoint && codePoint <= range.last;
    });
}

[[nodiscard]] std::uint8_t byteAt(std::string_view text, std::size_t index) noexcept {
    return static_cast<std::uint8_t>(text[index]);
}

/// Number of bytes of the character that begins with `lead`; 0 if none does.
[[nodiscard]] std::size_t sequenceSize(std::uint8_t lead) noexcept {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xc2 || lead > 0xf4) {
        return 0; // A continuation, an overlong form, or a code point above U+10FFFF.
    }
    return lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
}

/// `text` is not empty.
[[nodiscard]] Unit firstUnit(std::string_view text) noexcept {
    const std::uint8_t lead = byteAt(text, 0);
    const std::size_t size = sequenceSize(lead);
    if (size == 1) {
        return {1, lead >= 0x20 && lead != 0x7f};
    }
    if (size == 0 || size > text.size()) {
        return {};
    }
    std::uint32_t codePoint = lead & (0x7fU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        const std::uint8_t byte = byteAt(text, i);
        if ((byte & 0xc0U) != 0x80) {
            return {};
        }
        codePoint = codePoint << 6U | (byte & 0x3fU);
    }
    constexpr std::array<std::uint32_t, 5> SMALLEST{0, 0, 0x80, 0x800, 0x10000}; // By the number of bytes.
    if (codePoint < SMALLEST[size] || codePoint > 0x10ffff || (codePoint >= 0xd800 && codePoint <= 0xdfff)) {
        return {};
    }
    return {size, isPrintable(codePoint)};
}

constexpr std::size_t ESCAPE_SIZE = 4; // \xNN

void writeEscape(char byte, char* destination) noexcept {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    const auto value = static_cast<std::uint8_t>(byte);
    destination[0] = '\\';
    destination[1] = 'x';
    destination[2] = DIGITS[value >> 4U];
    destination[3] = DIGITS[value & 0xfU];
}

} // namespace

PrintableCopy copyPrintable(std::string_view text, std::span<char> destination) noexcept {
    PrintableCopy copy;
    while (copy.readCount < text.size()) {
        const std::string_view rest = text.substr(copy.readCount);
        const Unit unit = firstUnit(rest);
        const std::size_t needed = unit.isPrintable ? unit.size : unit.size * ESCAPE_SIZE;
        if (needed > destination.size() - copy.writtenCount) {
            break;
        }
        char* const target = destination.data() + copy.writtenCount;
        for (std::size_t i = 0; i < unit.size; ++i) {
            if (unit.isPrintable) {
                target[i] = rest[i];
            } else {
                writeEscape(rest[i], target + i * ESCAPE_SIZE);
            }
        }
        copy.readCount += unit.size;
        copy.writtenCount += needed;
    }
    return copy;
}

std::string printableText(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    std::array<char, 256> part;
    while (!text.empty()) {
        const PrintableCopy copy = copyPrintable(text, part);
        result.append(part.data(), copy.writtenCount);
        text.remove_prefix(copy.readCount);
    }
    return result;
}

std::string shortenedText(std::string_view text, std::size_t maxSize) {
    if (text.size() <= maxSize) {
        return std::string(text);
    }
    std::size_t size = maxSize;
    constexpr std::size_t MAX_CONTINUATIONS = 3; // Of one character; more are not UTF-8 and may be cut anywhere.
    for (std::size_t i = 0; i < MAX_CONTINUATIONS && size > 0 && (byteAt(text, size) & 0xc0U) == 0x80; ++i) {
        --size;
    }
    return std::string(text.substr(0, size)) + "… (" + std::to_string(text.size()) + " bytes in all)";
}

} // namespace Kiln
