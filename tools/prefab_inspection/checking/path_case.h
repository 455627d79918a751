#pragma once

#include <optional>
#include <string>

namespace Kiln::PrefabInspection {

/// The resource path of an existing file that differs from a missing one only in the case of ASCII letters; none if
/// there is no such file, or more than one.
[[nodiscard]] std::optional<std::string> findPathWithOtherCase(const std::string& path);

} // namespace Kiln::PrefabInspection
