#pragma once

#include "instance_record.h"
#include <kiln_prefab/diagnostics.h>

#include <cstddef>
#include <map>
#include <string>

namespace Kiln::PrefabTool {

/// Writes the problems of instances.
class InstanceDiagnostics : public Diagnostics {
public:
    using Diagnostics::Diagnostics;

    /// Reports the log and the failures of a load and, if the instance was not created or errors were logged, its
    /// prefab with the reasons.
    void reportInstance(const InstanceRecord& record);

    void reportSkippedComponents(const std::map<std::string, std::size_t>& countsByType);
};

} // namespace Kiln::PrefabTool
