#pragma once

#include <core/smart_pointer.h>
#include <tessel_streaming/documents/loaded_file.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// What is known of a path; null if it has not been read.
using FindFile = std::function<SmartPointer<LoadedFile>(const std::string& path)>;

/// The paths that the newer version of a file nests and the older one does not.
[[nodiscard]] std::vector<std::string> newlyNested(const LoadedFile& older, const LoadedFile& newer);

/// Why a newer version cannot be used although it was read: what it nests in addition to the older version cannot be
/// loaded, has no root, nests the file itself, or lies too deep. Empty if it can be used.
[[nodiscard]] std::vector<LoadFailure> checkNesting(const LoadedFile& older, const LoadedFile& newer,
                                                    const FindFile& find);

/// The indices of those of `wanted` that `path` nests, directly or through others, or that it is itself.
[[nodiscard]] std::vector<std::size_t> findReached(const std::string& path, const std::vector<std::string>& wanted,
                                                   const FindFile& find);

} // namespace Kiln::Tessel::Streaming::detail
