#pragma once

#include <functional>
#include <string>

namespace Kiln::Tessel {

struct DeseriralizeErrorHandler {
    std::string context;
    std::function<void(const std::string& message)> callback;
};

} // namespace Kiln::Tessel
