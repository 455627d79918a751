#include "line_text.h"

namespace Kiln::PrefabTool {

std::string printable(std::string_view text) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string result;
    result.reserve(text.size());
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7f) {
            result += character;
        } else {
            result += {'\\', 'x', DIGITS[byte >> 4U], DIGITS[byte & 0xFU]};
        }
    }
    return result;
}

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace Kiln::PrefabTool
