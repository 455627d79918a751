#pragma once

#include <resource/file_content.h>
#include <resource/pack_writer.h>
#include <resource/resource_pack.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// One file on its way into a pack and back. Any thread.
namespace Kiln::PrefabPacking {

/// Encodes a file. It is kept as a text if it is no document that the loader accepts, or has no canonical form.
[[nodiscard]] PackDocument packFile(const std::string& path, std::string_view text, bool keepsPositions);

/// Takes a document over from another pack. The result is that of packFile() for the file from which it was made. None
/// for a text, for a document that lacks the wanted positions, and for one that has positions which are not wanted.
[[nodiscard]] std::optional<PackDocument> repackFile(const std::string& path, FileContent content,
                                                     std::uint64_t sourceChecksum, bool keepsPositions);

/// The canonical form of the file from which a document was made, byte for byte; a text that has no canonical form is
/// returned unchanged. None, with the reason in `problem`, if the document is damaged.
[[nodiscard]] std::optional<std::string> unpackFile(FileContent content, std::string& problem);

/// The same for a document of a pack. The problem is a sentence without full stop that names the document.
[[nodiscard]] std::optional<std::string> unpackDocument(const ResourcePack& pack, std::size_t index,
                                                        std::string& problem);

} // namespace Kiln::PrefabPacking
