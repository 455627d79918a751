#include <prefab_inspection/documents/character_reference.h>

#include <charconv>
#include <cstdint>
#include <system_error>

namespace Kiln::PrefabInspection {

namespace {

void appendUtf8(std::uint32_t codePoint, std::string& text) {
    const auto byte = [&text](std::uint32_t value) { text.push_back(static_cast<char>(value)); };
    if (codePoint < 0x80) {
        byte(codePoint);
    } else if (codePoint < 0x800) {
        byte(0xC0 | codePoint >> 6);
        byte(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        byte(0xE0 | codePoint >> 12);
        byte(0x80 | (codePoint >> 6 & 0x3F));
        byte(0x80 | (codePoint & 0x3F));
    } else {
        byte(0xF0 | codePoint >> 18);
        byte(0x80 | (codePoint >> 12 & 0x3F));
        byte(0x80 | (codePoint >> 6 & 0x3F));
        byte(0x80 | (codePoint & 0x3F));
    }
}

} // namespace

std::size_t appendReference(std::string_view rest, std::string& text) {
    struct Entity {
        std::string_view reference;
        char character;
    };
    static constexpr Entity ENTITIES[] = {
        {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
    for (const Entity& entity : ENTITIES) {
        if (rest.starts_with(entity.reference)) {
            text.push_back(entity.character);
            return entity.reference.size();
        }
    }
    if (!rest.starts_with("&#")) {
        return 0;
    }
    const bool isHexadecimal = rest.starts_with("&#x");
    const char* const first = rest.data() + (isHexadecimal ? 3 : 2);
    const char* const last = rest.data() + rest.size();
    std::uint32_t codePoint = 0;
    const auto [end, error] = std::from_chars(first, last, codePoint, isHexadecimal ? 16 : 10);
    if (error != std::errc() || end == first || end == last || *end != ';') {
        return 0;
    }
    appendUtf8(codePoint, text);
    return static_cast<std::size_t>(end - rest.data()) + 1;
}

} // namespace Kiln::PrefabInspection
