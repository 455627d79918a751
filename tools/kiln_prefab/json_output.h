#pragma once

#include "instance_record.h"

#include <iosfwd>

namespace Kiln::PrefabTool {

/// Writes an instance as one line of JSON. Bytes that are not UTF-8 are replaced by U+FFFD.
void writeJson(std::ostream& stream, const InstanceRecord& record);

} // namespace Kiln::PrefabTool
