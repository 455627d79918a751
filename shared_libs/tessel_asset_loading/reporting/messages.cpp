#include <tessel_asset_loading/reporting/messages.h>

#include <core/formatter.h>
#include <core/log.h>

#include <cstdarg>

namespace Kiln::Tessel::detail::Report {

namespace {

void write(int severity, const char* format, std::va_list arguments) {
    DebugMessageHelper(0, severity, "", "tessel_asset_loading")
        .message("%s", formatTextList(format, arguments).c_str());
}

} // namespace

void error(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    write(LogSeverity::ERROR, format, arguments);
    va_end(arguments);
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
