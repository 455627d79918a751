#pragma once

#include <prefab_inspection/checking/file_facts.h>
#include <prefab_inspection/checking/pending_finding.h>
#include <prefab_inspection/checking/value_check.h>
#include <prefab_inspection/documents/prefab_document.h>

#include <string>
#include <vector>

namespace Kiln::PrefabInspection {

/// What the check of one file finds.
struct FileCheckResult {
    FileFacts facts;
    std::vector<PendingFinding> findings; ///< Without the name of the file.
};

/// Checks a document by itself: its structure, components and values, game objects and hierarchy. The facts are what
/// the checks across files need. `facts` has what is known of the file so far.
[[nodiscard]] FileCheckResult checkDocument(const PrefabDocument& document, FileFacts facts,
                                            ScratchDescriptors& scratch);

} // namespace Kiln::PrefabInspection
