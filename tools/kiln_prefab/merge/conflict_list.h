#pragma once

#include <prefab_merging/conflict_marker.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

class Terminal;

/// A conflict and where the file holds it.
struct ListedConflict {
    PrefabMerging::Conflict conflict;
    std::size_t line = 0; ///< From 1 on; 0 if the file does not hold it.
};

/// What a merge or a resolution reports.
struct ConflictList {
    std::string file;
    std::vector<ListedConflict> conflicts;
    std::vector<std::size_t> unreadableLines; ///< Of comments that begin like a conflict but cannot be read.
    std::size_t takenCount = 0;               ///< Changes of theirs that were merged.
    std::size_t decidedCount = 0;             ///< Conflicts that --prefer has decided.

    [[nodiscard]] bool isEmpty() const { return conflicts.empty() && unreadableLines.empty(); }
};

/// Adds the conflicts that a text holds, with their lines.
void addConflicts(const std::string& text, ConflictList& list);

/// The conflicts with their three values, for readers.
void writeConflicts(Terminal& terminal, const ConflictList& list);

/// The same as JSON, as docs/conflicts.schema.json describes.
void writeConflictsJson(Terminal& terminal, const ConflictList& list);

} // namespace Kiln::PrefabTool
