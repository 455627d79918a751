#pragma once

#include <core/non_copyable.h>
#include <tessel_asset_loading/export.h>

#include <cstddef>
#include <string>
#include <vector>

/// Writes the module's messages to the engine log, and defines the messages that several sources report. A message that
/// only one source reports is written in that source.
namespace Kiln::Tessel::detail::Report {

/// Logs at error or warning severity by the rules of printf, with an empty category.
void error(const char* format, ...) __attribute__((format(printf, 1, 2)));
void warning(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Keeps copies of the errors that the current thread logs during the lifetime of the object, for callers that pass
/// them on. The innermost capture of a thread gets them.
class KILN_TESSEL_ASSET_LOADING_EXPORT ErrorCapture : NonCopyable {
public:
    ErrorCapture() noexcept;
    ~ErrorCapture();

    /// Without a line break at the end.
    [[nodiscard]] const std::vector<std::string>& errors() const noexcept { return m_errors; }

private:
    friend void error(const char* format, ...);

    std::vector<std::string> m_errors;
    ErrorCapture* m_outer;
};

/// Nested prefabs go deeper than the limit.
void nestingTooDeep();

/// The component library lacks a component type that the module needs.
void componentTypeNotRegistered();

/// A node id is not below the number of nodes.
void invalidNodeIndex(std::size_t id, std::size_t nodesCount);

} // namespace Kiln::Tessel::detail::Report
