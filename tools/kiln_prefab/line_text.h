#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Pieces of the lines that the program prints.
namespace Kiln::PrefabTool {

/// Begins every line about the program's own failures.
inline constexpr std::string_view PROGRAM_PREFIX = "kiln-prefab: ";

/// A name, path, argument or message fit for one line of a terminal, as by printableText().
[[nodiscard]] std::string printable(std::string_view text);

/// A number with its noun, in the plural unless the number is 1: "1 object", "2 objects".
[[nodiscard]] std::string counted(std::size_t count, const std::string& noun);

} // namespace Kiln::PrefabTool
