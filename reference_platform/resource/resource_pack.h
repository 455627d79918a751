#pragma once

#include <core/safe_reference_count.h>
#include <core/smart_pointer.h>
#include <resource/export.h>
#include <resource/file_content.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Kiln {

/// A pack file, mapped into memory: many documents in one file, found by their resource paths and read without parsing
/// (docs/packs.md).
///
/// A pack may come from anybody: open() checks the index, read() each document, so that nothing outside of the file is
/// read. The mapping exists as long as the pack or any document that was read from it. A program that changes packs
/// must replace them by renaming, as writePack() does: reading a mapped file that is shortened ends the process.
///
/// Threads: immutable; any thread.
class KILN_RESOURCE_EXPORT ResourcePack final : public SafeReferenceCount {
public:
    /// Null, with the reason in `problem`, if the file is no sound pack.
    [[nodiscard]] static SmartPointer<ResourcePack> open(const std::string& fileName, std::string& problem);

    /// The same for a copy of bytes; `name` stands for the file's name in messages.
    [[nodiscard]] static SmartPointer<ResourcePack> fromBytes(std::string_view bytes, std::string name,
                                                              std::string& problem);

    /// The name with which it was opened.
    [[nodiscard]] const std::string& fileName() const noexcept;
    /// Size of the file in bytes.
    [[nodiscard]] std::uint64_t fileSize() const noexcept;

    /// The documents, sorted by path.
    [[nodiscard]] std::size_t documentsCount() const noexcept;

    /// What the pack knows about a document without reading it. Sizes are in bytes.
    struct Document {
        std::string_view path;            ///< Valid as long as the pack.
        std::uint64_t storedSize = 0;     ///< In the pack.
        std::uint64_t size = 0;           ///< Without compression.
        std::uint64_t sourceChecksum = 0; ///< XXH3 of the file from which it was made.
        bool isCompressed = false;        ///< Whether it is stored compressed.
        bool isText = false;              ///< Stored as XML.
    };

    /// `index` must be less than documentsCount().
    [[nodiscard]] Document document(std::size_t index) const;

    /// Index of the document with that path.
    [[nodiscard]] std::optional<std::size_t> find(std::string_view path) const noexcept;

    /// Reads a document for parseXml(). False, with the reason in `problem`, if it is damaged or exceeds
    /// ResourceLimits.
    [[nodiscard]] bool read(std::size_t index, FileContent& content, std::string& problem) const;

private:
    struct Mapping;

    [[nodiscard]] static SmartPointer<ResourcePack> fromMapping(std::unique_ptr<Mapping> mapping, std::string& problem);

    explicit ResourcePack(std::unique_ptr<const Mapping> mapping);
    ~ResourcePack() override;

    std::unique_ptr<const Mapping> m_mapping;
};

/// What a tool has attached to a document (PackDocument::annex). Empty if the content is that of a text.
[[nodiscard]] KILN_RESOURCE_EXPORT std::string_view packedAnnex(const FileContent& content) noexcept;

/// Whether the document has the lines and columns of its elements.
[[nodiscard]] KILN_RESOURCE_EXPORT bool hasPackedPositions(const FileContent& content) noexcept;

} // namespace Kiln
