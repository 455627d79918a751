#pragma once

#include <tessel_foundation/export.h>
#include <tessel_foundation/internal_tech/elem_states.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>

/// The readable form of the pools' state, for diagnostics. Every line ends with '\n'; the stream's formatting flags are
/// ignored.
namespace Kiln::Tessel::PoolDump {

struct PoolSummary {
    std::size_t elementsPerBlock;
    std::size_t elementSize; ///< In bytes.
    std::size_t blocksCount;
    bool isEmpty;
};

struct BlockSummary {
    bool isEmpty;
    std::int64_t firstAllocated;
    std::int64_t lastAllocated;
    std::int64_t nextFree;
    const ElemStates& elementStates;
};

/// Writes the header of a pool's dump.
KILN_TESSEL_FOUNDATION_EXPORT void writePool(std::ostream& stream, const PoolSummary& pool);

/// Writes the heading of one block in the dump of its pool.
KILN_TESSEL_FOUNDATION_EXPORT void writeBlockHeading(std::ostream& stream, std::size_t blockIndex);

KILN_TESSEL_FOUNDATION_EXPORT void writeBlock(std::ostream& stream, const BlockSummary& block);

} // namespace Kiln::Tessel::PoolDump
