#include <tessel_asset_loading/reporting/messages.h>

#include <core/formatter.h>
#include <core/log.h>

#include <cstdarg>
#include <utility>

namespace Kiln::Tessel::detail::Report {

namespace {

thread_local ErrorCapture* s_capture = nullptr; ///< The innermost one of the thread.

std::string write(int severity, const char* format, std::va_list arguments) {
    std::string text = formatTextList(format, arguments);
    DebugMessageHelper(0, severity, "", "tessel_asset_loading").message("%s", text.c_str());
    return text;
}

} // namespace

ErrorCapture::ErrorCapture() noexcept : m_outer(std::exchange(s_capture, this)) {}

ErrorCapture::~ErrorCapture() {
    s_capture = m_outer;
}

void error(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = write(LogSeverity::ERROR, format, arguments);
    va_end(arguments);
    if (s_capture) {
        if (text.ends_with('\n')) {
            text.pop_back();
        }
        s_capture->m_errors.push_back(std::move(text));
    }
}

void warning(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    write(LogSeverity::WARNING, format, arguments);
    va_end(arguments);
}

void nestingTooDeep() {
    error("Nested prefabs depth has exceeded limit. It can be result of recursive references.");
}

void componentTypeNotRegistered() {
    error("Component with provided type is not registered in the library");
}

void invalidNodeIndex(std::size_t id, std::size_t nodesCount) {
    error("Invalid Game Object Hierarchy node index. [%lu] >= [%lu]", id, nodesCount);
}

} // namespace Kiln::Tessel::detail::Report
