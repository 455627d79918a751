#pragma once

#include <string>

/// The module's way to the engine log, and the messages that several places share.
namespace Kiln::Tessel::Report {

/// Source paths under which the module's operations enter the stack tracker.
inline constexpr const char* GAME_OBJECT_PREFAB_SOURCE = "shared_libs\\tessel_asset_loading\\game_object_prefab";
inline constexpr const char* PREFAB_COMPONENT_SOURCE = "shared_libs\\tessel_asset_loading\\prefab_component";

/// Logs by the rules of printf at error or warning severity, with an empty category.
void error(const char* format, ...) __attribute__((format(printf, 1, 2)));
void warning(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Following nested prefabs went below the limit.
void nestingTooDeep();

/// A component type that the module needs is missing in the component library.
void componentTypeNotRegistered();

/// A node id is not below the number of nodes.
void invalidNodeIndex(std::size_t id, std::size_t nodesCount);

} // namespace Kiln::Tessel::Report
