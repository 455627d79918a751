#include <resource/pack_compression.h>

#include <resource/pack_layout.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <new>

#include <zstd.h>

namespace Kiln {

using PackLayout::DocumentHeader;
using PackLayout::Position;

namespace {

constexpr int LEVEL = 15;

/// The last payload of each head. Heads that share an entry cost size, and nothing else.
class LastPayloads {
public:
    [[nodiscard]] std::uint32_t& operator[](std::uint32_t head) noexcept {
        constexpr std::uint32_t MULTIPLIER = 0x9e3779b1; // Fibonacci hashing.
        return m_payloads[head * MULTIPLIER >> (32 - BITS)];
    }

private:
    static constexpr unsigned BITS = 8;

    std::array<std::uint32_t, std::size_t{1} << BITS> m_payloads{};
};

/// The nodes and positions of a tree that may not be sound: as many of them as the bytes have room for.
struct FilteredParts {
    std::span<PackedNode> nodes;
    std::span<Position> positions;
};

[[nodiscard]] FilteredParts filteredParts(std::byte* bytes, std::size_t size) {
    DocumentHeader header;
    if (size < sizeof header) {
        return {};
    }
    std::memcpy(&header, bytes, sizeof header);
    const std::uint64_t nodesBegin = sizeof header + header.uuidsCount * PackLayout::UUID_SIZE;
    const std::uint64_t positionsBegin = nodesBegin + header.nodesCount * std::uint64_t{sizeof(PackedNode)};
    const bool hasPositions = (header.flags & PackLayout::HAS_POSITIONS) != 0;
    const std::uint64_t end =
        positionsBegin + (hasPositions ? header.nodesCount * std::uint64_t{sizeof(Position)} : std::uint64_t{0});
    if (end > size) {
        return {};
    }
    FilteredParts parts;
    parts.nodes = {reinterpret_cast<PackedNode*>(bytes + nodesBegin), header.nodesCount};
    if (hasPositions) {
        parts.positions = {reinterpret_cast<Position*>(bytes + positionsBegin), header.nodesCount};
    }
    return parts;
}

void filter(const FilteredParts& parts) {
    LastPayloads last;
    for (PackedNode& node : parts.nodes) {
        std::uint32_t& previous = last[node.head];
        const std::uint32_t payload = node.payload;
        node.payload -= previous;
        previous = payload;
    }
    std::uint32_t previousLine = 0;
    for (Position& position : parts.positions) {
        const std::uint32_t line = position.line;
        position.line -= previousLine;
        previousLine = line;
    }
}

void unfilter(const FilteredParts& parts) {
    LastPayloads last;
    for (PackedNode& node : parts.nodes) {
        std::uint32_t& previous = last[node.head];
        node.payload += previous;
        previous = node.payload;
    }
    std::uint32_t line = 0;
    for (Position& position : parts.positions) {
        position.line += line;
        line = position.line;
    }
}

[[nodiscard]] TreeBytes makeTreeBytes(std::size_t size) {
    return {std::make_unique_for_overwrite<std::byte[]>(size), size};
}

} // namespace

std::string compressTree(std::string_view tree) {
    const TreeBytes filtered = makeTreeBytes(tree.size());
    std::memcpy(filtered.bytes.get(), tree.data(), tree.size());
    filter(filteredParts(filtered.bytes.get(), filtered.size));
    std::string stored(ZSTD_compressBound(tree.size()), '\0');
    const std::size_t size = ZSTD_compress(stored.data(), stored.size(), filtered.bytes.get(), filtered.size, LEVEL);
    if (ZSTD_isError(size) != 0) { // The buffer is large enough, so that only memory can be missing.
        throw std::bad_alloc();
    }
    stored.resize(size);
    return stored;
}

bool decompressTree(std::span<const std::byte> stored, std::size_t size, TreeBytes& tree, std::string& problem) {
    // Compared before anything is allocated.
    const unsigned long long contentSize = ZSTD_getFrameContentSize(stored.data(), stored.size());
    if (contentSize == ZSTD_CONTENTSIZE_UNKNOWN || contentSize == ZSTD_CONTENTSIZE_ERROR || contentSize != size) {
        problem = "the compressed document has another size than the index says";
        return false;
    }
    tree = makeTreeBytes(size);
    const std::size_t result = ZSTD_decompress(tree.bytes.get(), size, stored.data(), stored.size());
    if (ZSTD_isError(result) != 0 || result != size) {
        problem = "the document cannot be decompressed";
        return false;
    }
    unfilter(filteredParts(tree.bytes.get(), size));
    return true;
}

} // namespace Kiln
