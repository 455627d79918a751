#include <tessel_streaming/tracing/json_text.h>

#include <cstddef>
#include <cstdint>

namespace Kiln::Tessel::Streaming::detail {

namespace {

constexpr std::string_view REPLACEMENT = "\xef\xbf\xbd"; // U+FFFD

[[nodiscard]] bool isBetween(char byte, unsigned first, unsigned last) noexcept {
    const unsigned value = static_cast<std::uint8_t>(byte);
    return first <= value && value <= last;
}

/// Number of bytes of the character of two or more bytes at the beginning of a text; 0 if there is no well-formed one.
[[nodiscard]] std::size_t multibyteSize(std::string_view text) noexcept {
    const unsigned lead = static_cast<std::uint8_t>(text.front());
    if (lead < 0xc2 || lead > 0xf4) {
        return 0;
    }
    const std::size_t size = lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    if (text.size() < size) {
        return 0;
    }
    // The second byte excludes overlong forms, surrogates, and code points above U+10FFFF.
    const unsigned first = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    const unsigned last = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    bool isWellFormed = isBetween(text[1], first, last);
    for (std::size_t i = 2; i < size; ++i) {
        isWellFormed = isWellFormed && isBetween(text[i], 0x80, 0xbf);
    }
    return isWellFormed ? size : 0;
}

void appendAscii(std::string& json, char character) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    if (character == '"' || character == '\\') {
        json += '\\';
        json += character;
    } else if (isBetween(character, 0, 0x1f) || character == 0x7f) {
        const unsigned value = static_cast<std::uint8_t>(character);
        json += "\\u00";
        json += DIGITS[value >> 4U];
        json += DIGITS[value & 0xfU];
    } else {
        json += character;
    }
}

} // namespace

void appendJsonString(std::string& json, std::string_view text) {
    json += '"';
    while (!text.empty()) {
        std::size_t size = 1;
        if (isBetween(text.front(), 0, 0x7f)) {
            appendAscii(json, text.front());
        } else if (const std::size_t multibyte = multibyteSize(text); multibyte > 0) {
            size = multibyte;
            json += text.substr(0, size);
        } else {
            json += REPLACEMENT;
        }
        text.remove_prefix(size);
    }
    json += '"';
}

} // namespace Kiln::Tessel::Streaming::detail
