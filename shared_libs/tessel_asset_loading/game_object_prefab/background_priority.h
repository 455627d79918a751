#pragma once

namespace Kiln::Tessel::detail {

/// Priority of all tasks that the module gives to the file-I/O workers.
inline constexpr int BACKGROUND_PRIORITY = 96;

} // namespace Kiln::Tessel::detail
