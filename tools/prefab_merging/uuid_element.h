#pragma once

#include <common/uuid.h>

#include <optional>
#include <string>

namespace Kiln::PrefabMerging {

/// How a game object is named in a value of Place::Kind::FIRST_OBJECT; and the UUID of such a value, if it is one.
[[nodiscard]] std::string uuidElement(const Uuid& uuid);
[[nodiscard]] std::optional<Uuid> uuidOfElement(const std::string& element);

} // namespace Kiln::PrefabMerging
