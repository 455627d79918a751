#pragma once

#include <string>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// Appends the resource paths that override data may set for nested prefabs: the `resource` of every record of a
/// PrefabComponent, also in override data that such a record sets itself. Which of them apply depends on the instance;
/// the result may have too many paths, empty and repeated ones. Logs nothing: a text that is not well formed has no
/// effect. Any thread.
void appendOverrideResources(const std::string& overridesData, std::vector<std::string>& resources);

} // namespace Kiln::Tessel::Streaming::detail
