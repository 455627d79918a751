#pragma once

#include <prefab_inspection/checking/file_check.h>

#include <optional>
#include <string>
#include <string_view>

namespace Kiln::PrefabInspection {

/// The result of checking a file as bytes for an ICheckCache. Only the same build of the library reads them.
[[nodiscard]] std::string storedText(const FileCheckResult& result);

/// Reads what storedText() has written; none if the bytes are damaged or name a component type that is not registered.
[[nodiscard]] std::optional<FileCheckResult> readStoredText(std::string_view text);

} // namespace Kiln::PrefabInspection
