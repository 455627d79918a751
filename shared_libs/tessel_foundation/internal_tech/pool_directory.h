#pragma once

#include <core/non_copyable.h>
#include <tessel_foundation/export.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace Kiln::Tessel {

/// Bookkeeping of a multi-block pool over all its blocks: which of them have room, their addresses, and how many
/// objects they contain. A block is identified by its index in the pool's list.
///
/// Owner: the pool; every block keeps a link to it and keeps it up to date. Threads: that of the pool.
class KILN_TESSEL_FOUNDATION_EXPORT PoolDirectory : NonCopyable {
public:
    /// The index that means no block.
    static constexpr std::size_t NO_BLOCK = std::numeric_limits<std::size_t>::max();

    PoolDirectory();
    ~PoolDirectory();

    /// Adds the next block, which has room, and returns its index. Nothing is changed if an allocation fails.
    std::size_t addBlock(const void* buffer, std::size_t bytes);

    /// The first block in list order with room, or NO_BLOCK. Reads one bit per block, starting with the lowest block
    /// that may have room.
    [[nodiscard]] std::size_t firstBlockWithRoom() noexcept {
        for (; m_firstWord < m_roomWords.size(); ++m_firstWord) {
            const std::uint64_t word = m_roomWords[m_firstWord];
            if (word != 0) {
                return m_firstWord * WORD_BITS + static_cast<std::size_t>(std::countr_zero(word));
            }
        }
        return NO_BLOCK;
    }

    /// @{
    /// Called by a block when it gets room, and when it becomes full.
    void noteRoom(std::size_t block) noexcept {
        m_roomWords[block / WORD_BITS] |= bitOf(block);
        m_firstWord = std::min(m_firstWord, block / WORD_BITS);
    }

    void noteFull(std::size_t block) noexcept { m_roomWords[block / WORD_BITS] &= ~bitOf(block); }
    /// @}

    /// The block whose buffer contains `address`, or NO_BLOCK. Takes logarithmic time.
    [[nodiscard]] std::size_t findBlock(const void* address) const noexcept;

    /// @{
    /// Totals over all blocks: elements that hold an object, and those of them that are ACTIVE.
    std::size_t allocatedCount = 0;
    std::size_t activeCount = 0;
    /// @}

private:
    static constexpr std::size_t WORD_BITS = 64;

    struct Buffer {
        std::uintptr_t begin;
        std::uintptr_t end;
        std::size_t block;
    };

    static constexpr std::uint64_t bitOf(std::size_t block) noexcept { return std::uint64_t{1} << (block % WORD_BITS); }

    std::vector<std::uint64_t> m_roomWords; ///< A bit per block, set when it has room.
    std::size_t m_firstWord = 0;            ///< All words before it are 0.
    std::vector<Buffer> m_buffers;          ///< Ordered by address.
};

} // namespace Kiln::Tessel
