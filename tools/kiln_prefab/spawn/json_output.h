#pragma once

#include "instance_record.h"

#include <cstddef>
#include <iosfwd>
#include <map>
#include <string>

namespace Kiln::PrefabTool {

/// Writes an instance as one line of JSON. Bytes that are not UTF-8 are replaced by U+FFFD. `skippedComponents` has the
/// numbers of components of unknown types in the files of the prefab.
void writeJson(std::ostream& stream, const InstanceRecord& record,
               const std::map<std::string, std::size_t>& skippedComponents);

} // namespace Kiln::PrefabTool
