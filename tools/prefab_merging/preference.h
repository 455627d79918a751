#pragma once

namespace Kiln::PrefabMerging {

/// How conflicts are decided.
enum class Preference {
    NONE, ///< Ours stays in force, and the result holds the conflicts.
    OURS,
    THEIRS,
};

} // namespace Kiln::PrefabMerging
