#include "data_text.h"

#include <algorithm>
#include <array>

namespace Kiln::PrefabTool {

namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;

/// Whether a character of ASCII stands for itself in a JSON string inside of a script element.
[[nodiscard]] constexpr bool isPlain(unsigned char letter) {
    return letter >= 0x20 && letter < 0x7F && letter != '"' && letter != '\\' && letter != '<' && letter != '>' &&
           letter != '&';
}

void appendEscape(std::string& output, unsigned unit) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    output += "\\u";
    for (unsigned shift = 16; shift > 0;) {
        shift -= 4;
        output += DIGITS[(unit >> shift) & 0xFU];
    }
}

void appendCharacter(std::string& output, char32_t character) {
    if (character < 0x10000) {
        appendEscape(output, character);
        return;
    }
    const unsigned offset = character - 0x10000;
    appendEscape(output, 0xD800U + (offset >> 10U));
    appendEscape(output, 0xDC00U + (offset & 0x3FFU));
}

/// Takes the first character of a text that does not begin with ASCII; an invalid byte is taken alone.
[[nodiscard]] char32_t takeCharacter(std::string_view& text) {
    const auto byteAt = [text](std::size_t index) {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
    };
    const unsigned first = byteAt(0);
    const std::size_t size = first >= 0xF0 ? 4 : (first >= 0xE0 ? 3 : 2);
    constexpr std::array<char32_t, 5> LEAST{0, 0, 0x80, 0x800, 0x10000};
    char32_t character = first & (0xFFU >> (size + 1));
    bool isValid = first >= 0xC2 && first <= 0xF4;
    for (std::size_t i = 1; i < size; ++i) {
        isValid = isValid && (byteAt(i) & 0xC0U) == 0x80U;
        character = (character << 6U) | (byteAt(i) & 0x3FU);
    }
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    isValid = isValid && !isSurrogate && character >= LEAST[size] && character <= 0x10FFFF;
    text.remove_prefix(isValid ? size : 1);
    return isValid ? character : REPLACEMENT;
}

} // namespace

void appendJsonString(std::string& output, std::string_view text) {
    output += '"';
    while (!text.empty()) {
        std::size_t plain = 0;
        while (plain < text.size() && isPlain(static_cast<unsigned char>(text[plain]))) {
            ++plain;
        }
        output.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        const auto letter = static_cast<unsigned char>(text.front());
        if (letter < 0x80) {
            appendEscape(output, letter);
            text.remove_prefix(1);
        } else {
            appendCharacter(output, takeCharacter(text));
        }
    }
    output += '"';
}

std::uint32_t TextTable::add(std::string_view text, std::uint64_t hash) {
    if (2 * m_entries.size() >= m_slots.size()) {
        grow();
    }
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = hash & mask;
    for (; m_slots[slot] != 0; slot = (slot + 1) & mask) {
        const std::uint32_t index = m_slots[slot] - 1;
        if (m_entries[index].hash == hash && (*this)[index] == text) {
            return index;
        }
    }
    const auto index = static_cast<std::uint32_t>(m_entries.size());
    m_slots[slot] = index + 1;
    m_entries.push_back({m_text.size(), text.size(), hash});
    m_text += text;
    return index;
}

void TextTable::grow() {
    constexpr std::size_t LEAST = 64;
    m_slots.assign(std::max(LEAST, 2 * m_slots.size()), 0);
    const std::size_t mask = m_slots.size() - 1;
    for (std::uint32_t index = 0; index < m_entries.size(); ++index) {
        std::size_t slot = m_entries[index].hash & mask;
        while (m_slots[slot] != 0) {
            slot = (slot + 1) & mask;
        }
        m_slots[slot] = index + 1;
    }
}

} // namespace Kiln::PrefabTool
