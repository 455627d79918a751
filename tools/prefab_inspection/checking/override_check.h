#pragma once

#include <prefab_inspection/checking/pending_finding.h>
#include <prefab_inspection/checking/prefab_instances.h>
#include <prefab_inspection/checking/value_check.h>

#include <vector>

namespace Kiln::PrefabInspection {

/// Checks the override texts of all instances: that they can be read, that what they name exists where they apply, and
/// that something remains of them. Appends the findings, each once.
void checkOverrides(const PrefabInstances& instances, ScratchDescriptors& scratch,
                    std::vector<PendingFinding>& findings);

} // namespace Kiln::PrefabInspection
