#pragma once

#include <core/export.h>

#include <string>
#include <typeindex>

namespace Kiln {

/// Name of a type as it is written in source code; what the compiler calls it where that cannot be told.
[[nodiscard]] KILN_CORE_EXPORT std::string typeNameInSource(std::type_index type);

} // namespace Kiln
