#pragma once

#include <functional>
#include <string>

namespace Kiln::PrefabToolTests {

/// Runs a function in a child process whose stdout and stderr are a terminal with that many columns, and returns what
/// the child wrote there. The child ends with the function's result.
[[nodiscard]] std::string outputOnTerminal(const std::function<int()>& function, unsigned short columns = 80);

} // namespace Kiln::PrefabToolTests
