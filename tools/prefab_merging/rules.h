#pragma once

#include "comparing/difference.h"
#include "keyed_document.h"

#include <vector>

namespace Kiln::PrefabMerging {

/// Makes conflicts of those differences that fit one by one, but not together:
/// - a change that names an object which the other side has removed, such as a link to it or a child of it, and the
///   removal of an object below which the other side has changed something;
/// - changes of a component type of which the other side has changed the version;
/// - a change of the prefab that is nested, and of the overrides for it;
/// - changes of parents that make a cycle together, and such that make a second root together.
/// What becomes a conflict does not depend on which document is ours.
void findJointConflicts(const KeyedDocument& base, const KeyedDocument& ours, const KeyedDocument& theirs,
                        std::vector<Difference>& differences);

} // namespace Kiln::PrefabMerging
