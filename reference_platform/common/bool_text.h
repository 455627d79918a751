#pragma once

#include <string_view>

namespace Kiln {

/// Reads "true" and "1", "false" and "0"; otherwise returns false and leaves the value unchanged.
[[nodiscard]] constexpr bool readBool(std::string_view text, bool& value) noexcept {
    if (text == "true" || text == "1") {
        value = true;
        return true;
    }
    if (text == "false" || text == "0") {
        value = false;
        return true;
    }
    return false;
}

/// "true" or "false", which readBool() reads.
[[nodiscard]] constexpr std::string_view boolText(bool value) noexcept {
    return value ? "true" : "false";
}

} // namespace Kiln
