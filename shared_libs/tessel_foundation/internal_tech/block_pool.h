#pragma once

#include <core/non_copyable.h>
#include <tessel_foundation/internal_tech/block_pool_listener.h>
#include <tessel_foundation/internal_tech/deferred_deactivations.h>
#include <tessel_foundation/internal_tech/elem_state.h>
#include <tessel_foundation/internal_tech/elem_states.h>
#include <tessel_foundation/internal_tech/pool_assertions.h>
#include <tessel_foundation/internal_tech/pool_directory.h>
#include <tessel_foundation/internal_tech/pool_dump.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <new>
#include <utility>

namespace Kiln::Tessel {

/// A fixed number of elements of class T in one buffer: objects never move, and creating one allocates nothing.
///
/// An object is allocated INACTIVE, may become ACTIVE and INACTIVE again any number of times, and is freed from either
/// state. The ACTIVE ones form a chain in the order of their activation.
///
/// Owner: usually a MultiBlockPool. Threads: not thread-safe. Failure: an operation on an object that is not an element
/// of this block reports an assertion and does nothing.
template <class T>
class BlockPool : NonCopyable {
public:
    /// A count of 0 is treated as 1; a count above ElemStates::MAX_SIZE throws std::length_error, before anything is
    /// allocated. If there is an owner, `blockIndex` is the block's index in it.
    explicit BlockPool(std::size_t elementsCount, PoolDirectory* owner = nullptr, std::size_t blockIndex = 0)
        : m_elementStates(std::max<std::size_t>(elementsCount, 1)),
          m_buffer(std::make_unique<Slot[]>(m_elementStates.size())),
          m_owner(owner),
          m_blockIndex(blockIndex) {}

    /// Reports an assertion if objects are left, and destroys them so that they release what they own.
    virtual ~BlockPool() {
        if (empty()) {
            return;
        }
        PoolAssertions::reportBlockNotEmpty();
        for (std::int64_t index = 0; index < static_cast<std::int64_t>(m_elementStates.size()); ++index) {
            if (!m_elementStates.is(index, AllocationState::FREE)) {
                m_elementStates.setAllocationState(index, AllocationState::FREE);
                elementAt(index)->~T();
            }
        }
    }

    /// Creates an INACTIVE object in the element that was freed last. If the constructor throws, the element is free
    /// again. A full block reports an assertion and returns null.
    template <class... Args>
    T* allocate(Args&&... args) {
        const std::int64_t index = allocateBlock();
        if (index == ElemState::NO_ELEMENT) {
            return nullptr;
        }
        try {
            return ::new (static_cast<void*>(&m_buffer[static_cast<std::size_t>(index)]))
                T(std::forward<Args>(args)...);
        } catch (...) {
            release(index);
            throw;
        }
    }

    /// Destroys an object, INACTIVE or ACTIVE, and makes its element the next to be allocated. An ACTIVE one is
    /// deactivated first, immediately even in the deferred mode. Freeing an element that is free reports an assertion.
    void deallocate(T* element) {
        const std::int64_t index = findElement(element);
        if (index == ElemState::NO_ELEMENT) {
            return;
        }
        if (m_elementStates.is(index, AllocationState::FREE)) {
            PoolAssertions::reportFreedTwice();
            return;
        }
        deactivateNow(index);
        // FREE, but in no chain yet: whatever the destructor does, the element is neither activated nor allocated.
        m_elementStates.setAllocationState(index, AllocationState::FREE);
        element->~T();
        release(index);
    }

    /// Makes an INACTIVE element ACTIVE and the last of the allocated chain; does nothing in the other states. Cancels
    /// a deferred deactivation of the element.
    void activate(T* element) {
        const std::int64_t index = findElement(element);
        if (index == ElemState::NO_ELEMENT) {
            return;
        }
        m_deferred.drop(static_cast<std::size_t>(index));
        if (!m_elementStates.is(index, AllocationState::INACTIVE)) {
            return;
        }
        m_elementStates.set(index, {.nextElement = ElemState::NO_ELEMENT,
                                    .previousElement = m_lastAllocated,
                                    .allocationState = AllocationState::ACTIVE});
        setNextAllocated(m_lastAllocated, index);
        m_lastAllocated = index;
        if (m_owner != nullptr) {
            ++m_owner->activeCount;
        }
        if (m_listener != nullptr) {
            m_listener->onActivated(*element, static_cast<std::size_t>(index));
        }
    }

    /// Makes an ACTIVE element INACTIVE; does nothing in the other states. In the deferred mode it only records the
    /// request.
    void deactivate(T* element) {
        const std::int64_t index = findElement(element);
        if (index == ElemState::NO_ELEMENT) {
            return;
        }
        if (m_isDeferring) {
            m_deferred.add(static_cast<std::size_t>(index));
            return;
        }
        deactivateNow(index);
    }

    /// Starts the deferred mode: elements stay ACTIVE and in the allocated chain until the mode ends. Does
    /// not nest: within the mode it has no effect.
    void beginDeferredDeactivation() {
        m_deferred.prepare(m_elementStates.size());
        m_isDeferring = true;
    }

    /// Ends the deferred mode and deactivates, in the order of the requests, the elements for which one was recorded. A
    /// later activation of the element has cancelled its request; this includes an element that was freed, because it
    /// is ACTIVE again only after an activation.
    void endDeferredDeactivation() {
        m_isDeferring = false;
        m_deferred.applyAll([this](std::size_t index) { deactivateNow(static_cast<std::int64_t>(index)); });
    }

    /// True when every element is FREE.
    [[nodiscard]] bool empty() const noexcept { return m_allocatedCount == 0; }

    /// True when `element` is the address of an element of this block, in any state.
    [[nodiscard]] bool isBufferPtr(const T* element) const noexcept {
        // The offset of an address before the buffer wraps round to a value far beyond its size.
        const std::uintptr_t offset = offsetOf(element);
        return offset < m_elementStates.size() * sizeof(T) && offset % sizeof(T) == 0;
    }

    /// `element` must be an element of this block.
    [[nodiscard]] std::size_t indexOf(const T* element) const noexcept { return offsetOf(element) / sizeof(T); }

    /// Number of elements, in any state.
    [[nodiscard]] std::size_t elementsCount() const noexcept { return m_elementStates.size(); }

    /// `index` must be below elementsCount().
    [[nodiscard]] ElemState state(std::size_t index) const noexcept {
        return m_elementStates[static_cast<std::int64_t>(index)];
    }

    /// @{
    /// Ends of the allocated chain and head of the free chain; ElemState::NO_ELEMENT when the chain is empty.
    [[nodiscard]] std::int64_t firstAllocated() const noexcept { return m_firstAllocated; }
    [[nodiscard]] std::int64_t lastAllocated() const noexcept { return m_lastAllocated; }
    [[nodiscard]] std::int64_t nextFree() const noexcept { return m_nextFree; }
    /// @}

    /// Null for a block that belongs to no pool.
    [[nodiscard]] const PoolDirectory* owner() const noexcept { return m_owner; }

    /// @{
    /// The memory of the elements, and its size in bytes.
    [[nodiscard]] const void* buffer() const noexcept { return m_buffer.get(); }
    [[nodiscard]] std::size_t bufferSize() const noexcept { return m_elementStates.size() * sizeof(T); }
    /// @}

    /// Borrows the listener; null for none.
    void setListener(BlockPoolListener<T>* listener) noexcept { m_listener = listener; }

    /// Calls `function(T&)` for the ACTIVE elements in chain order. It may deactivate and free the element that it is
    /// called for, but must not free others, and may deactivate others only in the deferred mode. Elements that are
    /// activated during the iteration may be skipped.
    template <class Function>
    void forEachActive(Function&& function) {
        for (std::int64_t index = m_firstAllocated; index != ElemState::NO_ELEMENT;) {
            const std::int64_t next = m_elementStates.next(index);
            function(*elementAt(index));
            index = next;
        }
    }

    /// Writes the state of the block and of each element, see PoolDump.
    void dump(std::ostream& stream) const {
        PoolDump::writeBlock(stream, {.isEmpty = empty(),
                                      .firstAllocated = m_firstAllocated,
                                      .lastAllocated = m_lastAllocated,
                                      .nextFree = m_nextFree,
                                      .elementStates = m_elementStates});
    }

protected:
    /// For tests that break the chains.
    [[nodiscard]] ElemStates& elementStates() noexcept { return m_elementStates; }

private:
    using AllocationState = ElemState::AllocationState;

    struct alignas(T) Slot {
        std::byte bytes[sizeof(T)];
    };

    [[nodiscard]] T* elementAt(std::int64_t index) noexcept {
        return std::launder(reinterpret_cast<T*>(m_buffer[static_cast<std::size_t>(index)].bytes));
    }

    [[nodiscard]] std::uintptr_t offsetOf(const T* element) const noexcept {
        return reinterpret_cast<std::uintptr_t>(element) - reinterpret_cast<std::uintptr_t>(m_buffer.get());
    }

    /// The index of an element; returns NO_ELEMENT after an assertion if the address is not that of one.
    [[nodiscard]] std::int64_t findElement(const T* element) const {
        // The conditions of isBufferPtr(), with one division.
        const std::uintptr_t offset = offsetOf(element);
        const std::uintptr_t index = offset / sizeof(T);
        if (index < m_elementStates.size() && index * sizeof(T) == offset) [[likely]] {
            return static_cast<std::int64_t>(index);
        }
        PoolAssertions::reportNotInBuffer();
        return ElemState::NO_ELEMENT;
    }

    /// Takes the head off the free chain and marks it INACTIVE; returns NO_ELEMENT after an assertion if that fails.
    std::int64_t allocateBlock() {
        const std::int64_t index = m_nextFree;
        if (index == ElemState::NO_ELEMENT) {
            PoolAssertions::reportNoFreeElement();
            return ElemState::NO_ELEMENT;
        }
        if (!m_elementStates.is(index, AllocationState::FREE)) {
            PoolAssertions::reportFreeChainBroken();
            return ElemState::NO_ELEMENT;
        }
        m_nextFree = m_elementStates.next(index);
        if (m_nextFree != ElemState::NO_ELEMENT) {
            m_elementStates.setPrevious(m_nextFree, ElemState::NO_ELEMENT);
        } else if (m_owner != nullptr) {
            m_owner->noteFull(m_blockIndex);
        }
        m_elementStates.setAllocationState(index, AllocationState::INACTIVE);
        ++m_allocatedCount;
        if (m_owner != nullptr) {
            ++m_owner->allocatedCount;
        }
        return index;
    }

    /// Puts an element without an object at the head of the free chain.
    void release(std::int64_t index) noexcept {
        if (m_nextFree != ElemState::NO_ELEMENT) {
            m_elementStates.setPrevious(m_nextFree, index);
        } else if (m_owner != nullptr) {
            m_owner->noteRoom(m_blockIndex);
        }
        m_elementStates.set(index, {.nextElement = m_nextFree,
                                    .previousElement = ElemState::NO_ELEMENT,
                                    .allocationState = AllocationState::FREE});
        m_nextFree = index;
        --m_allocatedCount;
        if (m_owner != nullptr) {
            --m_owner->allocatedCount;
        }
    }

    void deactivateNow(std::int64_t index) {
        if (!m_elementStates.is(index, AllocationState::ACTIVE)) {
            return;
        }
        if (m_listener != nullptr) {
            m_listener->onDeactivating(*elementAt(index), static_cast<std::size_t>(index));
        }
        const ElemState state = m_elementStates[index];
        setNextAllocated(state.previousElement, state.nextElement);
        if (state.nextElement == ElemState::NO_ELEMENT) {
            m_lastAllocated = state.previousElement;
        } else {
            m_elementStates.setPrevious(state.nextElement, state.previousElement);
        }
        m_elementStates.setAllocationState(index, AllocationState::INACTIVE);
        if (m_owner != nullptr) {
            --m_owner->activeCount;
        }
    }

    /// Makes `next` follow `index` in the allocated chain; an `index` of NO_ELEMENT stands for its beginning.
    void setNextAllocated(std::int64_t index, std::int64_t next) noexcept {
        if (index == ElemState::NO_ELEMENT) {
            m_firstAllocated = next;
        } else {
            m_elementStates.setNext(index, next);
        }
    }

    ElemStates m_elementStates;       ///< Made first, because it checks the number of elements.
    std::unique_ptr<Slot[]> m_buffer; ///< Zero-filled when the block is made.
    std::int64_t m_firstAllocated = ElemState::NO_ELEMENT;
    std::int64_t m_lastAllocated = ElemState::NO_ELEMENT;
    std::int64_t m_nextFree = 0;
    PoolDirectory* m_owner;
    std::size_t m_blockIndex; ///< In m_owner's list.
    std::size_t m_allocatedCount = 0;
    BlockPoolListener<T>* m_listener = nullptr;
    bool m_isDeferring = false;
    DeferredDeactivations m_deferred;
};

} // namespace Kiln::Tessel
