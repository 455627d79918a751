#pragma once

#include <core/export.h>

#include <cstdarg>
#include <string>

namespace Kiln {

/// Formats by the rules of printf; texts of any length. An invalid format yields the format text itself.
[[nodiscard]] KILN_CORE_EXPORT std::string formatText(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// As formatText, with the arguments in a list that the caller has started.
[[nodiscard]] KILN_CORE_EXPORT std::string formatTextList(const char* format, std::va_list arguments)
    __attribute__((format(printf, 1, 0)));

} // namespace Kiln
