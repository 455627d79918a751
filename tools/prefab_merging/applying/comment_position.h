#pragma once

#include "../keyed_document.h"
#include "../place.h"

#include <cstddef>
#include <optional>

namespace Kiln::PrefabMerging {

/// Where the element begins that a place is in, or the nearest element around it that the document has; nothing for
/// what belongs to the whole document or to an object that it does not have.
[[nodiscard]] std::optional<std::size_t> positionFor(const Place& place, const KeyedDocument& document);

} // namespace Kiln::PrefabMerging
