#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <resource/data_section.h>
#include <resource/pack_layout.h>
#include <resource/resource_limits.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace Kiln {

/// The strings that the documents of a pack share: all names of elements, and texts. A view.
struct PackedStrings {
    const std::uint32_t* ends = nullptr;
    const char* texts = nullptr;
    std::size_t count = 0;

    /// `number` must be less than `count`.
    [[nodiscard]] std::string_view operator[](std::uint32_t number) const noexcept {
        const std::uint32_t begin = number == 0 ? 0 : ends[number - 1];
        return {texts + begin, ends[number] - begin};
    }
};

/// What open() finds out about a tree. One that is too deep or too large is not checked to its end and must not be
/// used, either.
enum class PackedTreeState {
    SOUND,
    DAMAGED,
    TOO_DEEP,  ///< Its elements are nested deeper than ResourceLimits::elementDepth.
    TOO_LARGE, ///< Its names and texts together exceed ResourceLimits::fileSize: many elements may share one text.
};

/// A packed document in memory. A view: the bytes and the strings must outlive it.
///
/// open() checks everything that walking and reading rely on, so the other functions check nothing. They take nodes of
/// this tree.
class PackedTree {
public:
    /// Sets `problem` if the tree is DAMAGED. The bytes must be aligned.
    [[nodiscard]] PackedTreeState open(std::span<const std::byte> bytes, const PackedStrings& strings,
                                       const ResourceLimits& limits, std::string& problem);

    [[nodiscard]] const PackedNode* root() const noexcept { return m_nodes; }
    [[nodiscard]] std::string_view annex() const noexcept { return m_annex; }
    [[nodiscard]] bool hasPositions() const noexcept { return m_positions != nullptr; }

    [[nodiscard]] std::string_view name(const PackedNode& node) const noexcept { return (*m_strings)[node.name()]; }

    /// Null if there is none.
    [[nodiscard]] const PackedNode* firstChild(const PackedNode& node) const noexcept {
        return node.kind() >= PackLayout::NodeKind::PARENT ? &node + 1 : nullptr;
    }
    [[nodiscard]] const PackedNode* nextSibling(const PackedNode& node) const noexcept {
        return (node.head & PackLayout::HAS_NEXT_SIBLING) != 0 ? &node + 1 + descendantsCount(node) : nullptr;
    }

    /// As DataNode::text().
    [[nodiscard]] std::string_view text(const PackedNode& node, std::string& scratch) const;

    /// The values of nodes of that kind.
    [[nodiscard]] Uuid uuid(const PackedNode& node) const noexcept;
    [[nodiscard]] Matrix matrix(const PackedNode& node) const noexcept;

    /// 0, 0 if the tree has no positions.
    [[nodiscard]] DataPosition position(const PackedNode& node) const noexcept;

private:
    [[nodiscard]] std::uint32_t descendantsCount(const PackedNode& node) const noexcept {
        using PackLayout::NodeKind;
        if (node.kind() == NodeKind::PARENT) {
            return node.payload;
        }
        return node.kind() == NodeKind::MIXED ? number(node.payload) : 0;
    }

    [[nodiscard]] std::uint32_t number(std::size_t offset) const noexcept {
        std::uint32_t number;
        std::memcpy(&number, m_values + offset, sizeof number);
        return number;
    }

    [[nodiscard]] std::string_view textAt(std::size_t offset) const noexcept;

    [[nodiscard]] bool setParts(std::span<const std::byte> bytes);
    [[nodiscard]] PackedTreeState checkNodes(const ResourceLimits& limits, std::string& problem) const;
    [[nodiscard]] std::size_t minTextSize(const PackedNode& node) const noexcept;
    [[nodiscard]] bool isSoundValue(const PackedNode& node) const noexcept;
    [[nodiscard]] bool isSoundMatrix(std::size_t offset) const noexcept;
    [[nodiscard]] bool isSoundText(std::size_t offset) const noexcept;

    const PackedStrings* m_strings = nullptr;
    const PackedNode* m_nodes = nullptr;
    std::size_t m_nodesCount = 0;
    const std::byte* m_uuids = nullptr;
    std::size_t m_uuidsCount = 0;
    const char* m_values = nullptr;
    std::size_t m_valuesSize = 0;
    const PackLayout::Position* m_positions = nullptr;
    std::string_view m_annex;
};

} // namespace Kiln
