#pragma once

#include <core/printable_text.h>

#include <string>
#include <string_view>

namespace Kiln::PrefabInspection {

/// A text from a file as messages show it, shortened if it is long.
[[nodiscard]] inline std::string quoted(std::string_view text) {
    return "'" + shortenedText(text) + "'";
}

} // namespace Kiln::PrefabInspection
