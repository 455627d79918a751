#pragma once

#include <cstdint>

namespace Kiln::Tessel {

/// A block pool's bookkeeping of one element.
///
/// The two indices link the element into the chain that its state puts it in: ACTIVE elements into the allocated chain,
/// FREE ones into the free chain. An INACTIVE element is in no chain, and its indices have no meaning.
struct ElemState {
    /// What an element holds.
    enum class AllocationState : std::uint8_t {
        ACTIVE,   ///< Holds an object that is in use.
        INACTIVE, ///< Holds an object that is not in use.
        FREE,     ///< Holds no object.
    };

    /// The index that means no element.
    static constexpr std::int64_t NO_ELEMENT = -1;

    std::int64_t nextElement = NO_ELEMENT;                   ///< In the chain.
    std::int64_t previousElement = NO_ELEMENT;               ///< In the chain.
    AllocationState allocationState = AllocationState::FREE; ///< Also says which chain the element is in.
};

} // namespace Kiln::Tessel
