#include <resource/packed_tree.h>

#include <common/float_text.h>
#include <common/number_text.h>
#include <core/formatter.h>

#include <array>
#include <vector>

namespace Kiln {

using PackLayout::DocumentHeader;
using PackLayout::MatrixCode;
using PackLayout::NodeKind;

namespace {

constexpr unsigned SIZE_BITS = 7; ///< Bits of a size that a byte has.
constexpr unsigned MORE_BYTES = 1U << SIZE_BITS;
constexpr std::size_t MAX_SIZE_BYTES = 5;
constexpr std::size_t MATRIX_FLOATS = 16;
constexpr std::size_t UUID_TEXT_SIZE = 36;

[[nodiscard]] constexpr MatrixCode matrixCode(std::uint32_t codes, std::size_t index) noexcept {
    return static_cast<MatrixCode>(codes >> (2 * index) & 3);
}

/// Cuts the bytes of `count` objects off the begin.
template <class Object>
[[nodiscard]] const Object* take(std::span<const std::byte>& bytes, std::uint64_t count) noexcept {
    const auto* const first = reinterpret_cast<const Object*>(bytes.data());
    bytes = bytes.subspan(static_cast<std::size_t>(count) * sizeof(Object));
    return first;
}

} // namespace

PackedTreeState PackedTree::open(std::span<const std::byte> bytes, const PackedStrings& strings,
                                 const ResourceLimits& limits, std::string& problem) {
    m_strings = &strings;
    if (!setParts(bytes)) {
        problem = "the sizes of its parts are wrong";
        return PackedTreeState::DAMAGED;
    }
    return checkNodes(limits, problem);
}

bool PackedTree::setParts(std::span<const std::byte> bytes) {
    if (bytes.size() < sizeof(DocumentHeader)) {
        return false;
    }
    const DocumentHeader& header = *take<DocumentHeader>(bytes, 1);
    const bool hasPositions = header.flags == PackLayout::HAS_POSITIONS;
    if ((header.flags != 0 && !hasPositions) || header.reserved != 0 || header.nodesCount == 0) {
        return false;
    }
    const std::uint64_t nodeSize = sizeof(PackedNode) + (hasPositions ? sizeof(PackLayout::Position) : 0);
    const std::uint64_t fixedSize = header.uuidsCount * PackLayout::UUID_SIZE + header.nodesCount * nodeSize;
    // Compared one after the other, because a sum could overflow.
    if (fixedSize > bytes.size() || header.valuesSize > bytes.size() - fixedSize ||
        header.annexSize != bytes.size() - fixedSize - header.valuesSize) {
        return false;
    }
    m_uuidsCount = header.uuidsCount;
    m_uuids = take<std::byte>(bytes, header.uuidsCount * PackLayout::UUID_SIZE);
    m_nodesCount = header.nodesCount;
    m_nodes = take<PackedNode>(bytes, header.nodesCount);
    m_positions = hasPositions ? take<PackLayout::Position>(bytes, header.nodesCount) : nullptr;
    m_valuesSize = static_cast<std::size_t>(header.valuesSize);
    m_values = take<char>(bytes, header.valuesSize);
    m_annex = {take<char>(bytes, header.annexSize), static_cast<std::size_t>(header.annexSize)};
    return true;
}

/// Checks that each element is reached on one way only and that all payloads lead to values.
PackedTreeState PackedTree::checkNodes(const ResourceLimits& limits, std::string& problem) const {
    std::vector<std::uint64_t> ends{m_nodesCount}; // Index of the node that follows each open parent, outermost first.
    std::uint64_t size = 0;
    for (std::uint64_t index = 0; index < m_nodesCount; ++index) {
        const PackedNode& node = m_nodes[index];
        while (index == ends.back()) {
            ends.pop_back();
        }
        if (node.name() >= m_strings->count || (node.head & PackLayout::UNUSED_MASK) != 0 || !isSoundValue(node)) {
            problem = formatText("element %llu is not sound", static_cast<unsigned long long>(index));
            return PackedTreeState::DAMAGED;
        }
        const std::uint64_t end = index + 1 + descendantsCount(node);
        const bool hasNext = (node.head & PackLayout::HAS_NEXT_SIBLING) != 0;
        if (end > ends.back() || hasNext != (end < ends.back()) || (index == 0 && hasNext)) {
            problem =
                formatText("the elements do not form a tree at element %llu", static_cast<unsigned long long>(index));
            return PackedTreeState::DAMAGED;
        }
        if (ends.size() > limits.elementDepth) {
            return PackedTreeState::TOO_DEEP;
        }
        size += name(node).size() + minTextSize(node);
        if (size > limits.fileSize) {
            return PackedTreeState::TOO_LARGE;
        }
        if (end > index + 1) {
            ends.push_back(end);
        }
    }
    return PackedTreeState::SOUND;
}

/// The size of the text; for numbers, the least that it can be.
std::size_t PackedTree::minTextSize(const PackedNode& node) const noexcept {
    switch (node.kind()) {
    case NodeKind::EMPTY:
    case NodeKind::PARENT:
        return 0;
    case NodeKind::INTEGER:
    case NodeKind::FLOAT:
        return 1;
    case NodeKind::UUID:
        return UUID_TEXT_SIZE;
    case NodeKind::MATRIX:
        return 2 * MATRIX_FLOATS - 1;
    case NodeKind::TEXT:
        return textAt(node.payload).size();
    case NodeKind::SHARED_TEXT:
        return (*m_strings)[node.payload].size();
    case NodeKind::MIXED:
        return textAt(node.payload + sizeof(std::uint32_t)).size();
    }
    return 0;
}

bool PackedTree::isSoundValue(const PackedNode& node) const noexcept {
    switch (node.kind()) {
    case NodeKind::EMPTY:
        return node.payload == 0;
    case NodeKind::INTEGER:
    case NodeKind::FLOAT:
        return true;
    case NodeKind::UUID:
        return node.payload < m_uuidsCount;
    case NodeKind::MATRIX:
        return isSoundMatrix(node.payload);
    case NodeKind::TEXT:
        return isSoundText(node.payload);
    case NodeKind::SHARED_TEXT:
        return node.payload < m_strings->count;
    case NodeKind::PARENT:
        return node.payload > 0;
    case NodeKind::MIXED:
        return m_valuesSize >= sizeof(std::uint32_t) && node.payload <= m_valuesSize - sizeof(std::uint32_t) &&
               number(node.payload) > 0 && isSoundText(node.payload + sizeof(std::uint32_t));
    }
    return false;
}

bool PackedTree::isSoundMatrix(std::size_t offset) const noexcept {
    if (m_valuesSize < sizeof(std::uint32_t) || offset > m_valuesSize - sizeof(std::uint32_t)) {
        return false;
    }
    const std::uint32_t codes = number(offset);
    constexpr std::uint32_t HIGH_BITS = 0xaaaaaaaa;
    const std::uint32_t others = codes & HIGH_BITS;
    // OTHER is the only code with the high bit; together with the low bit it would be no code.
    const bool areCodes = (codes & others >> 1) == 0;
    const std::size_t rest = m_valuesSize - offset - sizeof codes;
    return areCodes && static_cast<std::size_t>(std::popcount(others)) * sizeof(float) <= rest;
}

bool PackedTree::isSoundText(std::size_t offset) const noexcept {
    std::uint64_t size = 0;
    for (unsigned i = 0; i < MAX_SIZE_BYTES && offset < m_valuesSize; ++i) {
        const auto byte = static_cast<unsigned char>(m_values[offset++]);
        size |= static_cast<std::uint64_t>(byte & (MORE_BYTES - 1)) << (SIZE_BITS * i);
        if (byte < MORE_BYTES) {
            return size <= m_valuesSize - offset;
        }
    }
    return false;
}

std::string_view PackedTree::textAt(std::size_t offset) const noexcept {
    std::size_t size = 0;
    unsigned shift = 0;
    unsigned char byte;
    do {
        byte = static_cast<unsigned char>(m_values[offset++]);
        size |= static_cast<std::size_t>(byte & (MORE_BYTES - 1)) << shift;
        shift += SIZE_BITS;
    } while (byte >= MORE_BYTES);
    return {m_values + offset, size};
}

std::string_view PackedTree::text(const PackedNode& node, std::string& scratch) const {
    switch (node.kind()) {
    case NodeKind::EMPTY:
    case NodeKind::PARENT:
        return {};
    case NodeKind::TEXT:
        return textAt(node.payload);
    case NodeKind::SHARED_TEXT:
        return (*m_strings)[node.payload];
    case NodeKind::MIXED:
        return textAt(node.payload + sizeof(std::uint32_t));
    case NodeKind::INTEGER:
        scratch.clear();
        appendNumber(node.payload, scratch);
        break;
    case NodeKind::FLOAT: {
        std::array<char, FloatText::MAX_LENGTH> buffer;
        scratch.assign(buffer.data(), FloatText::write(buffer.data(), std::bit_cast<float>(node.payload)));
        break;
    }
    case NodeKind::UUID:
        scratch = uuid(node).toString();
        break;
    case NodeKind::MATRIX:
        scratch = matrix(node).toString();
        break;
    }
    return scratch;
}

Uuid PackedTree::uuid(const PackedNode& node) const noexcept {
    std::array<std::uint64_t, 2> halves;
    std::memcpy(halves.data(), m_uuids + node.payload * PackLayout::UUID_SIZE, PackLayout::UUID_SIZE);
    return {halves[0], halves[1]};
}

Matrix PackedTree::matrix(const PackedNode& node) const noexcept {
    const std::uint32_t codes = number(node.payload);
    std::size_t offset = node.payload + sizeof codes;
    Matrix matrix;
    for (std::size_t i = 0; i < MATRIX_FLOATS; ++i) {
        const MatrixCode code = matrixCode(codes, i);
        if (code == MatrixCode::OTHER) {
            matrix.values[i] = std::bit_cast<float>(number(offset));
            offset += sizeof(float);
        } else {
            matrix.values[i] = static_cast<float>(static_cast<std::uint32_t>(code));
        }
    }
    return matrix;
}

DataPosition PackedTree::position(const PackedNode& node) const noexcept {
    if (!m_positions) {
        return {};
    }
    const PackLayout::Position& position = m_positions[&node - m_nodes];
    return {position.line, position.column};
}

} // namespace Kiln
