#pragma once

#include <core/api.h>

#include <string_view>

namespace Kiln {

struct AssertionFailure {
    std::string_view expression;
    std::string_view message;
    std::string_view file;
    unsigned line = 0;
};

/// Logs at critical severity and returns.
MINIMAL_API void reportAssertionFailure(const AssertionFailure& failure);

} // namespace Kiln

#define KILN_ASSERT(condition, text, file, line)                                                                       \
    ((condition) ? true : (::Kiln::reportAssertionFailure({#condition, (text), (file), (line)}), false))
