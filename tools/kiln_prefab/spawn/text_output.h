#pragma once

#include "instance_record.h"

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <set>
#include <string>

namespace Kiln::PrefabTool {

/// Totals over several instances.
struct Totals {
    std::size_t instances = 0;
    std::size_t created = 0;
    std::size_t objects = 0;
    std::set<std::string> files; ///< Prefab files of the instances that were created.
    std::size_t frames = 0;
    std::chrono::steady_clock::duration duration{};
};

/// Writes a created instance as a tree, followed by a summary line. `filesCount` is the number of prefab files used.
void writeText(std::ostream& stream, const InstanceRecord& record, std::size_t filesCount);

void writeTotals(std::ostream& stream, const Totals& totals);

} // namespace Kiln::PrefabTool
