#pragma once

#include <tessel_foundation/export.h>
#include <tessel_foundation/internal_tech/elem_states.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>

/// The readable form of the pools' state, for diagnostics. Every line ends with '\n'; the stream's formatting flags are
/// ignored.
namespace Kiln::Tessel::PoolDump {

/// What the header of a pool's dump shows.
struct PoolSummary {
    std::size_t elementsPerBlock; ///< Elements in each block.
    std::size_t elementSize;      ///< In bytes.
    std::size_t blocksCount;      ///< Number of blocks.
    bool isEmpty;                 ///< Whether the pool has no objects.
};

/// What the dump of a block shows.
struct BlockSummary {
    bool isEmpty;                    ///< Whether every element is FREE.
    std::int64_t firstAllocated;     ///< Start of the allocated chain.
    std::int64_t lastAllocated;      ///< End of the allocated chain.
    std::int64_t nextFree;           ///< Start of the free chain.
    const ElemStates& elementStates; ///< The record of every element.
};

/// Writes the header of a pool's dump.
KILN_TESSEL_FOUNDATION_EXPORT void writePool(std::ostream& stream, const PoolSummary& pool);

/// Writes the heading of one block in the dump of its pool.
KILN_TESSEL_FOUNDATION_EXPORT void writeBlockHeading(std::ostream& stream, std::size_t blockIndex);

/// Writes the state of a block and of each element.
KILN_TESSEL_FOUNDATION_EXPORT void writeBlock(std::ostream& stream, const BlockSummary& block);

} // namespace Kiln::Tessel::PoolDump
