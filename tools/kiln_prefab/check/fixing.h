#pragma once

#include "check_run.h"

#include <prefab_editing/text_edits.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Files whose findings have been fixed in memory.
struct FixedFiles {
    std::map<std::string, PrefabEditing::EditedText> files; ///< By resource path; only files that have changed.
    std::size_t fixedCount = 0;                             ///< Number of findings that were fixed.
    CheckOutcome before;                                    ///< What the files on disk have.
    CheckOutcome after;                                     ///< What the fixed files have.
};

/// Checks, applies the fixes of the findings that are shown, and repeats both until there is nothing more to fix, so
/// that fixing the result again changes nothing. Changes no file. Throws CommandError as runCheck().
[[nodiscard]] FixedFiles fixInMemory(CheckPlan plan, const ResourceRoots& roots, SettingsFiles& settings);

/// Writes the fixed files, each atomically. Returns what went wrong, as sentences without full stop; a file that
/// another program has changed meanwhile is not written.
[[nodiscard]] std::vector<std::string> writeFixedFiles(const FixedFiles& fixed, const ResourceRoots& roots);

/// The changes as a patch relative to the resource root, by ascending path.
[[nodiscard]] std::string patchOf(const FixedFiles& fixed);

} // namespace Kiln::PrefabTool
