#pragma once

#include <prefab_inspection/checking/pending_finding.h>
#include <prefab_inspection/checking/prefab_instances.h>

#include <vector>

namespace Kiln::PrefabInspection {

/// Checks each file together with the prefabs that are nested in it: UUIDs, parents, links, integration points. Appends
/// the findings, each once.
void checkNesting(const PrefabInstances& instances, std::vector<PendingFinding>& findings);

} // namespace Kiln::PrefabInspection
