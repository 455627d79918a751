#pragma once

#include "../keyed_document.h"
#include "../place.h"

#include <optional>
#include <string>
#include <vector>

namespace Kiln::PrefabMerging {

/// A place where ours or theirs differs from base. Values are pieces of XML: elements as they stand in their document;
/// components and game objects as the fragments of KeyedDocument; nothing where the document does not have the place.
struct Difference {
    /// Which value the merged document has.
    enum class Kind {
        OURS,     ///< Only ours has changed it, or both in the same way.
        THEIRS,   ///< Only theirs has changed it.
        CONFLICT, ///< Ours, until somebody decides.
    };

    Place place;
    Kind kind = Kind::CONFLICT;
    std::optional<std::string> base;
    std::optional<std::string> ours;
    std::optional<std::string> theirs;
    std::string reason; ///< Of a conflict: a clause.

    [[nodiscard]] bool isChangedByOurs() const { return kind != Kind::THEIRS; }
    [[nodiscard]] bool isChangedByTheirs() const { return kind != Kind::OURS; }
};

inline constexpr const char* BOTH_CHANGED = "both sides have changed it";

/// All places where ours or theirs differs from base, except those where both have the same new value. Override data
/// that both have changed is compared by record. Throws IrregularText.
[[nodiscard]] std::vector<Difference> compare(const KeyedDocument& base, const KeyedDocument& ours,
                                              const KeyedDocument& theirs);

} // namespace Kiln::PrefabMerging
