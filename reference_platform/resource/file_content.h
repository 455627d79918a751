#pragma once

#include <resource/export.h>

#include <cstddef>
#include <memory>
#include <string_view>

namespace Kiln {

struct PackedContent;

/// The bytes of a file or text, followed by a NUL, or a document of a resource pack, which has no text.
struct FileContent {
    std::unique_ptr<char[]> bytes; ///< size + 1 bytes; the last one is NUL. Null for a document of a pack.
    std::size_t size = 0;          ///< In bytes, without the NUL.
    std::shared_ptr<const PackedContent> packed{}; ///< A document of a pack; null for a text.

    /// A copy of a text, followed by a NUL.
    [[nodiscard]] KILN_RESOURCE_EXPORT static FileContent copyOf(std::string_view text);
    /// The text; empty for a document of a pack.
    [[nodiscard]] std::string_view text() const noexcept { return {bytes.get(), size}; }
};

} // namespace Kiln
