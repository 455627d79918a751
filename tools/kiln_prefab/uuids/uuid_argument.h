#pragma once

#include <CLI/CLI.hpp>

#include <common/uuid.h>

#include <string>

namespace Kiln::PrefabTool {

/// Refuses a value that is not a UUID.
[[nodiscard]] inline CLI::Validator isUuid() {
    return {[](std::string& value) {
                return Uuid::fromString(value) ? std::string()
                                               : "'" + value + "' is not a UUID (8-4-4-4-12 hexadecimal digits)";
            },
            "", "UUID"};
}

} // namespace Kiln::PrefabTool
