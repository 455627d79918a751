#pragma once

#include <common/uuid.h>

#include <optional>
#include <string>

namespace Kiln::PrefabMerging {

/// The text of a prefab document with that game object as the first one; the indices of components follow. Returns
/// nothing if there is no such object. Throws IrregularText.
[[nodiscard]] std::optional<std::string> withFirstObject(const std::string& text, const Uuid& uuid);

} // namespace Kiln::PrefabMerging
