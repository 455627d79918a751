#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The layout of pack files, which docs/packs.md describes. All numbers have the byte order of the machine that made
/// the pack; a pack of the other byte order is refused.
namespace Kiln::PackLayout {

inline constexpr std::array<char, 8> MAGIC{'K', 'I', 'L', 'N', 'P', 'A', 'C', 'K'};
inline constexpr std::uint32_t BYTE_ORDER_MARK = 0x01020304;
inline constexpr std::uint32_t SWAPPED_BYTE_ORDER_MARK = 0x04030201;
/// Also stands for the plain text and the canonical form to which the annexes refer: a change of either of them needs
/// another version.
inline constexpr std::uint32_t VERSION = 1;

/// Of every document in the file. Sizes of documents are multiples of it, with zeros at the end.
inline constexpr std::size_t ALIGNMENT = 8;

/// The begin of the file. The index follows: the entries, the ends of the strings (32 bits each; a string begins where
/// the one before ends), the paths, and the texts of the strings, with zeros up to a multiple of ALIGNMENT. Then come
/// the documents, in the order of their entries and without gaps.
struct Header {
    std::array<char, 8> magic;
    std::uint32_t byteOrderMark;
    std::uint32_t version;
    std::uint64_t fileSize;
    std::uint64_t indexChecksum; ///< XXH3 of the bytes from CHECKED_BEGIN to the end of the index.
    std::uint32_t documentsCount;
    std::uint32_t stringsCount;
    std::uint64_t indexSize; ///< With the header; the offset of the first document.
    std::uint64_t pathsSize;
    std::uint64_t textsSize;
};
static_assert(sizeof(Header) == 64);

inline constexpr std::size_t CHECKED_BEGIN = offsetof(Header, documentsCount);

enum class Form : std::uint32_t {
    TREE = 0,            ///< A DocumentHeader and what it counts.
    COMPRESSED_TREE = 1, ///< The same, filtered (pack_compression.h) and compressed as one zstd frame.
    TEXT = 2,            ///< The file itself.
};

/// A document. The entries are sorted by path.
struct Entry {
    std::uint64_t offset;         ///< In the file.
    std::uint64_t storedSize;     ///< Without the zeros at the end.
    std::uint64_t size;           ///< After decompression.
    std::uint64_t checksum;       ///< XXH3 of the stored bytes, with the zeros at the end.
    std::uint64_t sourceChecksum; ///< XXH3 of the file from which the document was made.
    std::uint32_t pathEnd;        ///< In the paths. A path begins where the one before ends.
    Form form;
};
static_assert(sizeof(Entry) == 48);

/// The begin of a tree. Then come the UUIDs (two numbers of 64 bits, high half first), the nodes, the positions if
/// HAS_POSITIONS is set, the values, and the annex.
struct DocumentHeader {
    std::uint32_t nodesCount;
    std::uint32_t uuidsCount;
    std::uint32_t flags;
    std::uint32_t reserved; ///< 0.
    std::uint64_t valuesSize;
    std::uint64_t annexSize; ///< For tools; loading does not read it.
};
static_assert(sizeof(DocumentHeader) == 32);

inline constexpr std::uint32_t HAS_POSITIONS = 1;

inline constexpr std::size_t UUID_SIZE = 16;

/// What the payload of a node is.
enum class NodeKind : std::uint8_t {
    EMPTY,       ///< 0: the element has neither a text nor children.
    INTEGER,     ///< The number that the text is.
    FLOAT,       ///< The bits of the float that the text is.
    UUID,        ///< Index of a UUID.
    MATRIX,      ///< Offset of a value: 2 bits for each float (MatrixCode), then the floats with the code OTHER.
    TEXT,        ///< Offset of a value: the size of the text (7 bits per byte, lowest first), the text.
    SHARED_TEXT, ///< Number of a string.
    PARENT,      ///< Number of all elements below the element, which has no text.
    MIXED, ///< Offset of a value: the number of all elements below the element (32 bits), and its text as in TEXT.
};
inline constexpr std::uint32_t KINDS_COUNT = 9;

enum class MatrixCode : std::uint32_t { ZERO, ONE, OTHER };

/// Parts of PackedNode::head.
inline constexpr std::uint32_t NAME_MASK = 0x00ffffff; ///< Number of a string.
inline constexpr unsigned KIND_SHIFT = 24;
inline constexpr std::uint32_t KIND_MASK = 0xf;
inline constexpr std::uint32_t HAS_NEXT_SIBLING = std::uint32_t{1} << 28;
inline constexpr std::uint32_t UNUSED_MASK = 0xe0000000;

/// Where the start tag of an element begins in the file from which the document was made; counts from 1.
struct Position {
    std::uint32_t line;
    std::uint32_t column;
};
static_assert(sizeof(Position) == 8);

[[nodiscard]] constexpr std::uint64_t aligned(std::uint64_t size) noexcept {
    return (size + (ALIGNMENT - 1)) / ALIGNMENT * ALIGNMENT;
}

} // namespace Kiln::PackLayout

namespace Kiln {

/// An element of a packed document. The elements are in the order of the document, so that the first child of an
/// element follows it.
struct PackedNode {
    std::uint32_t head; ///< Name, kind and whether there is a next sibling.
    std::uint32_t payload;

    [[nodiscard]] std::uint32_t name() const noexcept { return head & PackLayout::NAME_MASK; }
    [[nodiscard]] PackLayout::NodeKind kind() const noexcept {
        return static_cast<PackLayout::NodeKind>(head >> PackLayout::KIND_SHIFT & PackLayout::KIND_MASK);
    }
};
static_assert(sizeof(PackedNode) == 8);

} // namespace Kiln
