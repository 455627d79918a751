#pragma once

#include <stdexcept>

namespace Kiln::PrefabTool {

/// A mistake of the caller that keeps a command from running, such as a wrong path or an unreadable settings file. The
/// text is a sentence without full stop; it may have any bytes.
class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace Kiln::PrefabTool
