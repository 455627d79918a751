#pragma once

#include <core/export.h>

#include <functional>
#include <string_view>

namespace Kiln {

/// What a failed development assertion reports.
struct AssertionFailure {
    std::string_view expression; ///< Text of the condition that does not hold.
    std::string_view message;    ///< Explanation; may be empty.
    std::string_view file;       ///< Source path, without extension.
    unsigned line = 0;           ///< 0 when not given.
};

/// Receives the failures of development assertions, see setAssertionHandler().
using AssertionHandler = std::function<void(const AssertionFailure&)>;

/// Replaces the process's assertion handler and returns the previous one. An empty handler restores the default, which
/// logs at critical severity and lets the program go on. Any thread; the handler is called on the thread whose
/// assertion fails, possibly on several threads at once.
KILN_CORE_EXPORT AssertionHandler setAssertionHandler(AssertionHandler handler);

/// Passes a failure to the installed handler.
KILN_CORE_EXPORT void reportAssertionFailure(const AssertionFailure& failure);

} // namespace Kiln

/// Development assertion on an invariant of the engine itself, never on file content. Evaluates to true when the
/// condition holds; otherwise reports and evaluates to false, so that the caller can return a neutral value.
#define KILN_ASSERT(condition, text, file, line)                                                                       \
    ((condition) ? true : (::Kiln::reportAssertionFailure({#condition, (text), (file), (line)}), false))
