#pragma once

#include <core/api.h>

#include <cstdarg>
#include <string>

namespace Kiln {

MINIMAL_API std::string formatText(const char* format, ...) __attribute__((format(printf, 1, 2)));
MINIMAL_API std::string formatTextList(const char* format, std::va_list arguments)
    __attribute__((format(printf, 1, 0)));

} // namespace Kiln
