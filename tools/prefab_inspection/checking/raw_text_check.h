#pragma once

#include <prefab_inspection/checking/pending_finding.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace Kiln::PrefabInspection {

/// Finds what the XML reader tolerates although XML does not permit it: ampersands that begin no reference, repeated
/// attributes, bytes that are not UTF-8. Also finds conflicts of a merge. Appends the findings, at most
/// MAX_RAW_FINDINGS of each kind.
void checkRawText(std::string_view xml, std::vector<PendingFinding>& findings);

inline constexpr std::size_t MAX_RAW_FINDINGS = 100;

} // namespace Kiln::PrefabInspection
