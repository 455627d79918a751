#pragma once

#include <prefab_inspection/export.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Kiln::PrefabInspection {

/// Appends what the character reference at the begin of a text stands for, such as '<' for "&lt;", as the loader reads
/// it. Returns the size of the reference; 0 if the text begins with none, so that an ampersand stands for itself.
[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT std::size_t appendReference(std::string_view rest, std::string& text);

} // namespace Kiln::PrefabInspection
