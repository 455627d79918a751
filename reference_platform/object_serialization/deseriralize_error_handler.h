#pragma once

#include <functional>
#include <string>

namespace Kiln::Tessel {

/// Receives the problems that are found while a prefab is read. The spelling of the name is part of the interface.
/// Owned by the caller, who must set the callback. Called on the reading thread.
struct DeseriralizeErrorHandler {
    std::string context;                                      ///< The beginning of every message.
    std::function<void(const std::string& message)> callback; ///< Called once per problem, with the finished text.
};

} // namespace Kiln::Tessel
