#pragma once

#include <functional>
#include <string>

namespace Kiln::Tessel {

/// Receives the problems that are met while a prefab is read; owned by the caller, who sees to it that the callback is
/// not empty. Called on the reading thread.
struct DeseriralizeErrorHandler {
    std::string context;                                      ///< Stands in front of every message.
    std::function<void(const std::string& message)> callback; ///< Called once per problem, with the finished text.
};

} // namespace Kiln::Tessel
