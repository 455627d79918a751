#pragma once

#include <kiln_prefab/check/command_error.h>

#include <string>

#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {

/// The text of the CommandError that an operation throws. Fails the test if it throws none.
template <class Operation>
[[nodiscard]] std::string errorOf(const Operation& operation) {
    try {
        operation();
    } catch (const PrefabTool::CommandError& error) {
        return error.what();
    }
    ADD_FAILURE() << "No CommandError was thrown.";
    return {};
}

} // namespace Kiln::PrefabToolTests
