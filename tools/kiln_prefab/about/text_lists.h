#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

/// The texts with a separator between them.
[[nodiscard]] inline std::string joined(const std::vector<std::string>& texts, std::string_view separator) {
    std::string result;
    for (const std::string& text : texts) {
        if (!result.empty()) {
            result += separator;
        }
        result += text;
    }
    return result;
}

/// The text with each of some characters replaced.
[[nodiscard]] inline std::string
replacedCharacters(std::string_view text, const std::vector<std::pair<char, std::string_view>>& replacements) {
    std::string result;
    for (const char character : text) {
        std::string_view replacement(&character, 1);
        for (const auto& [from, to] : replacements) {
            if (character == from) {
                replacement = to;
            }
        }
        result += replacement;
    }
    return result;
}

} // namespace Kiln::PrefabTool
