#pragma once

#include "conflict_marker.h"
#include "preference.h"

#include <common/uuid.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabMerging {

/// What is wrong with a document.
struct Problem {
    std::string key;            ///< Equal for the same problem in another document, whatever its lines.
    std::optional<Uuid> object; ///< The object that it is reported for, which need not be the same.
    std::string text;           ///< For readers.

    friend bool operator==(const Problem& first, const Problem& second) { return first.key == second.key; }
    friend bool operator<(const Problem& first, const Problem& second) { return first.key < second.key; }
};

struct MergeOptions {
    Preference preference = Preference::NONE;

    /// Finds the problems of a text. A merge that would bring a problem that neither side has becomes a conflict. May
    /// be empty.
    std::function<std::vector<Problem>(std::string_view text)> findProblems;
};

struct MergeResult {
    std::string text;
    std::vector<Conflict> conflicts; ///< Sorted by place; none if `preference` has decided them.
    std::size_t decidedCount = 0;    ///< Number of conflicts that `preference` has decided.
    std::size_t takenCount = 0;      ///< Number of changes of theirs in the text, without those of a conflict.
};

/// Merges the changes that two documents have made to a third one: by UUID of the game object, type of the component
/// and name of the property; structures and vectors as one value, override data by record. The result is the text of
/// `ours` with the changes of `theirs`; if one of them equals `base` byte for byte, it is the other one.
///
/// A document that has parts without a unique key is a conflict as a whole, see KeyedDocument. Never throws for the
/// content of a document. Uses several threads.
[[nodiscard]] MergeResult mergePrefabs(std::string_view base, std::string_view ours, std::string_view theirs,
                                       const MergeOptions& options = {});

} // namespace Kiln::PrefabMerging
