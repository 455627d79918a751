#pragma once

#include <CLI/CLI.hpp>

/// Checks of the values of options.
namespace Kiln::PrefabTool {

/// Refuses an empty name.
[[nodiscard]] inline CLI::Validator notEmpty() {
    return {[](std::string& value) { return value.empty() ? std::string("the name is empty") : std::string(); }, "",
            "not empty"};
}

} // namespace Kiln::PrefabTool
