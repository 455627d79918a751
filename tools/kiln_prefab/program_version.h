#pragma once

#include <string_view>

namespace Kiln::PrefabTool {

/// The version of the program, such as "0.1.0".
[[nodiscard]] std::string_view programVersion() noexcept;

} // namespace Kiln::PrefabTool
