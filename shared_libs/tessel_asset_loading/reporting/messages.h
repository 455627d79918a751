#pragma once

#include <cstddef>
#include <string>

/// Writes the module's messages to the engine log, and defines the messages that several sources report. A message that
/// only one source reports is written in that source.
namespace Kiln::Tessel::detail::Report {

/// Logs at error or warning severity by the rules of printf, with an empty category.
void error(const char* format, ...) __attribute__((format(printf, 1, 2)));
void warning(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Nested prefabs go deeper than the limit.
void nestingTooDeep();

/// The component library lacks a component type that the module needs.
void componentTypeNotRegistered();

/// A node id is not below the number of nodes.
void invalidNodeIndex(std::size_t id, std::size_t nodesCount);

} // namespace Kiln::Tessel::detail::Report
