#include <core/formatter.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <tuple>

namespace Kiln {

std::string formatText(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = formatTextList(format, arguments);
    va_end(arguments);
    return text;
}

std::string formatTextList(const char* format, std::va_list arguments) {
    // Nearly every message fits into the buffer and is formatted in one pass.
    std::array<char, 512> buffer;
    std::va_list secondPass;
    va_copy(secondPass, arguments);
    const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);

    std::string text;
    if (length < 0) {
        text = format;
    } else if (const auto size = static_cast<std::size_t>(length); size < buffer.size()) {
        text.assign(buffer.data(), size);
    } else {
        text.resize(size);
        // vsnprintf writes its terminating NUL over the string's own.
        std::ignore = std::vsnprintf(text.data(), size + 1, format, secondPass);
    }
    va_end(secondPass);
    return text;
}

} // namespace Kiln
