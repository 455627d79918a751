#pragma once

#include <resource/data_section.h>
#include <resource/export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Making packs (ResourcePack).
namespace Kiln {

/// A document that is encoded for a pack. It does not depend on the other documents of the pack, so that many can be
/// encoded at the same time.
class KILN_RESOURCE_EXPORT PackDocument {
public:
    struct Encoded;

    /// Encodes a document that was parsed or read from a pack. Texts become binary values if that loses nothing. None
    /// if the document is too large for the format, which a text of the same document never is.
    [[nodiscard]] static std::optional<PackDocument> fromSection(const DataSection& root, bool keepsPositions);

    /// A document that is kept as it is and parsed when it is loaded.
    [[nodiscard]] static PackDocument fromText(std::string text);

    /// @{
    /// A document that was moved from can only be assigned to and destroyed.
    PackDocument(PackDocument&& other) noexcept;
    PackDocument& operator=(PackDocument&& other) noexcept;
    /// @}
    ~PackDocument();

    /// The encoded form, for writePack().
    [[nodiscard]] const Encoded& encoded() const noexcept { return *m_encoded; }
    /// Whether the document is kept as a text.
    [[nodiscard]] bool isText() const noexcept;

    std::string path;                 ///< As isPackedPath() requires.
    std::string annex;                ///< Kept for tools; of no interest to loading. Not kept for a text.
    std::uint64_t sourceChecksum = 0; ///< sourceChecksum() of the file from which it was made.

private:
    explicit PackDocument(std::unique_ptr<Encoded> encoded) noexcept;

    std::unique_ptr<Encoded> m_encoded;
};

/// How writePack() makes a pack.
struct PackOptions {
    bool isCompressed = false; ///< Whether documents are compressed, if that makes them smaller.
    std::size_t threads = 1;   ///< How many threads work on the documents.

    /// Called after each document that is finished, with their number so far, by one thread at a time. May be empty.
    std::function<void(std::size_t count, const std::string& path)> onDocument;
};

/// Makes a pack, and atomically replaces the file by it. Equal documents yield equal bytes, whatever their order and
/// the number of threads. False, with the reason in `problem`, on failure: two documents have the same path, a path is
/// not allowed, the strings are too many, or the file cannot be written.
[[nodiscard]] KILN_RESOURCE_EXPORT bool writePack(const std::string& fileName, std::vector<PackDocument> documents,
                                                  const PackOptions& options, std::string& problem);

/// The checksum that PackDocument::sourceChecksum has for a file: XXH3 with 64 bits.
[[nodiscard]] KILN_RESOURCE_EXPORT std::uint64_t sourceChecksum(std::string_view text) noexcept;

} // namespace Kiln
