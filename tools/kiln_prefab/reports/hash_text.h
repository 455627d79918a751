#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Kiln::PrefabTool {

/// A hash as 16 hexadecimal digits.
[[nodiscard]] std::string hashText(std::uint64_t hash);

/// The hash that such a text stands for; none if the text has another form.
[[nodiscard]] std::optional<std::uint64_t> hashFromText(std::string_view text);

} // namespace Kiln::PrefabTool
