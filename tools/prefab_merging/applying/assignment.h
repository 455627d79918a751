#pragma once

#include "../place.h"

#include <string>

namespace Kiln::PrefabMerging {

/// A new value for a place of a document, or none to remove what is there.
struct Assignment {
    const Place* place = nullptr;
    const std::string* value = nullptr; ///< A piece of XML as in Difference; null to remove.
};

} // namespace Kiln::PrefabMerging
