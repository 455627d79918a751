#pragma once

#include "conflict_marker.h"
#include "preference.h"

#include <common/uuid.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabMerging {

/// The conflicts of a file that are to be decided.
struct Resolution {
    Preference preference = Preference::NONE; ///< Not NONE.
    std::optional<Uuid> object;               ///< Only conflicts about this object.
};

struct ResolvedText {
    std::string text;
    std::size_t resolvedCount = 0;
    std::vector<Conflict> failed; ///< The file does not have their place any more; their comments stay.
};

/// Decides conflicts that a text holds: OURS removes their comments and leaves what the file has, THEIRS puts the other
/// side's value there. Throws IrregularText if the text can't be changed by key.
[[nodiscard]] ResolvedText resolveConflicts(std::string_view text, const Resolution& resolution);

} // namespace Kiln::PrefabMerging
