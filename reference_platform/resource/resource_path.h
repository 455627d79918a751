#pragma once

#include <string>
#include <string_view>

namespace Kiln {

/// Whether a path has a control character in UTF-8: U+0000 to U+001F, U+007F to U+009F.
[[nodiscard]] bool hasControlCharacters(std::string_view path) noexcept;

/// Whether the ".." of a relative path lead above its beginning, taking every other component for a directory.
[[nodiscard]] bool leadsAboveItsBeginning(std::string_view path) noexcept;

/// Whether a pack may have a document of that path: a relative path without control characters, empty components, "."
/// and "..".
[[nodiscard]] bool isPackedPath(std::string_view path) noexcept;

/// A relative path as a pack has it: without empty components, "." and "..", which removes the component before it. The
/// path must not lead above its beginning.
[[nodiscard]] std::string packedPath(std::string_view path);

} // namespace Kiln
