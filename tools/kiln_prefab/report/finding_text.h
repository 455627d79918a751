#pragma once

#include "file_block.h"

#include <prefab_inspection/findings/finding.h>

#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Appends the list of the findings as JSON, and then, as another member of the document, the rules that they break.
void appendFindings(std::string& output, const std::vector<PrefabInspection::Finding>& findings,
                    const FileIndices& indices);

} // namespace Kiln::PrefabTool
