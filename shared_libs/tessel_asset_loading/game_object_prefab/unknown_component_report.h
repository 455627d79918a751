#pragma once

#include <string>

namespace Kiln::Tessel::detail {

/// Tells the handler of unknown components, if there is one and it has not heard of this type and file.
void reportUnknownComponents(const std::string& type, const std::string& path);

} // namespace Kiln::Tessel::detail
