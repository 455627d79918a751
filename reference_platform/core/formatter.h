#pragma once

#include <core/export.h>

#include <cstdarg>
#include <string>

namespace Kiln {

/// Formats by the rules of printf, without a limit on the length. An invalid format yields the format text itself.
[[nodiscard]] KILN_CORE_EXPORT std::string formatText(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// As formatText, for an argument list that the caller has started with va_start.
[[nodiscard]] KILN_CORE_EXPORT std::string formatTextList(const char* format, std::va_list arguments)
    __attribute__((format(printf, 1, 0)));

} // namespace Kiln
