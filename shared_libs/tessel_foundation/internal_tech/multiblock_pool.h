#pragma once

#include <core/non_copyable.h>
#include <tessel_foundation/internal_tech/block_allocable.h>
#include <tessel_foundation/internal_tech/block_pool.h>
#include <tessel_foundation/internal_tech/pool_assertions.h>
#include <tessel_foundation/internal_tech/pool_directory.h>
#include <tessel_foundation/internal_tech/pool_dump.h>

#include <algorithm>
#include <cstddef>
#include <iosfwd>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kiln::Tessel {

/// A growing list of blocks of elements of class T, which derives from BlockAllocable<T>. A block is added when all are
/// full; blocks exist until the pool is destroyed.
///
/// Owner: for components, a ComponentStorage. Its objects must be freed before it is destroyed; a block with remaining
/// objects reports an assertion. Threads: not thread-safe.
///
///     MultiBlockPool<Spark> pool(256);
///     Spark* spark = pool.createData(colour);
///     spark->block()->activate(spark);
///     pool.freeData(spark);
template <class T>
class MultiBlockPool : NonCopyable {
public:
    /// A number of 0 is treated as 1.
    explicit MultiBlockPool(std::size_t elementsPerBlock)
        : m_elementsPerBlock(std::max<std::size_t>(elementsPerBlock, 1)) {}

    /// Creates an INACTIVE object in the first block, in list order, that has room, or in a new block if none has.
    /// Exceptions of the constructor are propagated; the pool is then unchanged except for a block that may have been
    /// added.
    template <class... Args>
    T* createData(Args&&... args) {
        static_assert(std::is_base_of_v<BlockAllocable<T>, T>, "pooled objects hold the link to their block");
        std::size_t blockIndex = m_directory.firstBlockWithRoom();
        if (blockIndex == PoolDirectory::NO_BLOCK) {
            blockIndex = addBlock();
        }
        BlockPool<T>& block = *m_blocks[blockIndex];
        T* const element = block.allocate(std::forward<Args>(args)...);
        if (element != nullptr) {
            element->setBlock(&block);
        }
        return element;
    }

    /// Destroys an object that createData() created; it should be ACTIVE. Reports the same assertions as getBlock(). An
    /// INACTIVE object is freed after the report, because its element would be lost otherwise; an address that is not
    /// an object of this pool is ignored.
    void freeData(T* element) {
        BlockPool<T>* const block = getBlock(element);
        if (block != nullptr && block->state(block->indexOf(element)).allocationState != AllocationState::FREE) {
            block->deallocate(element);
        }
    }

    /// The block of an ACTIVE element. Reports an assertion and returns null if `element` is in no block of this pool;
    /// reports one and returns the block if the element is not ACTIVE.
    [[nodiscard]] BlockPool<T>* getBlock(const T* element) const {
        // Looked up by address, because the element may be free and its link destroyed.
        BlockPool<T>* const allocator = findBlock(element);
        if (allocator == nullptr) {
            PoolAssertions::reportNoAllocator();
            return nullptr;
        }
        if (!allocator->isBufferPtr(element)) {
            PoolAssertions::reportNotInBuffer();
            return nullptr;
        }
        if (allocator->state(allocator->indexOf(element)).allocationState != AllocationState::ACTIVE) {
            PoolAssertions::reportNotActive();
        }
        return allocator;
    }

    /// Whether a live object belongs to this pool.
    [[nodiscard]] bool owns(const BlockAllocable<T>& object) const noexcept {
        return object.block() != nullptr && object.block()->owner() == &m_directory;
    }

    /// @{
    /// Number of blocks, and of elements in each.
    [[nodiscard]] std::size_t blocksCount() const noexcept { return m_blocks.size(); }
    [[nodiscard]] std::size_t elementsPerBlock() const noexcept { return m_elementsPerBlock; }
    /// @}

    /// @{
    /// `index` must be below blocksCount().
    [[nodiscard]] BlockPool<T>& block(std::size_t index) noexcept { return *m_blocks[index]; }
    [[nodiscard]] const BlockPool<T>& block(std::size_t index) const noexcept { return *m_blocks[index]; }
    /// @}

    /// @{
    /// Number of objects, ACTIVE or not, and of ACTIVE ones.
    [[nodiscard]] std::size_t allocatedCount() const noexcept { return m_directory.allocatedCount; }
    [[nodiscard]] std::size_t activeCount() const noexcept { return m_directory.activeCount; }
    /// @}

    /// True if the pool has no objects, regardless of its blocks.
    [[nodiscard]] bool isEmpty() const noexcept { return m_directory.allocatedCount == 0; }

    /// Sets the listener of all present and future blocks. Borrows the listener; null for none.
    void setListener(BlockPoolListener<T>* listener) noexcept {
        m_listener = listener;
        for (const auto& block : m_blocks) {
            block->setListener(listener);
        }
    }

    /// @{
    /// As in BlockPool, for all blocks, including those added until the mode ends. The end of the mode applies the
    /// requests block by block, in list order.
    void beginDeferredDeactivation() {
        for (const auto& block : m_blocks) {
            block->beginDeferredDeactivation();
        }
        m_isDeferring = true;
    }

    void endDeferredDeactivation() {
        m_isDeferring = false;
        // By index, because listeners may create elements, and thereby blocks.
        for (std::size_t index = 0; index < m_blocks.size(); ++index) {
            m_blocks[index]->endDeferredDeactivation();
        }
    }
    /// @}

    /// As in BlockPool, block after block in list order.
    template <class Function>
    void forEachActive(Function&& function) {
        for (std::size_t index = 0; index < m_blocks.size(); ++index) {
            m_blocks[index]->forEachActive(function);
        }
    }

    /// Writes totals and then every block, see PoolDump.
    void dump(std::ostream& stream) const {
        PoolDump::writePool(stream, {.elementsPerBlock = m_elementsPerBlock,
                                     .elementSize = sizeof(T),
                                     .blocksCount = m_blocks.size(),
                                     .isEmpty = isEmpty()});
        for (std::size_t index = 0; index < m_blocks.size(); ++index) {
            PoolDump::writeBlockHeading(stream, index);
            m_blocks[index]->dump(stream);
        }
    }

private:
    using AllocationState = ElemState::AllocationState;

    [[nodiscard]] BlockPool<T>* findBlock(const T* element) const noexcept {
        const std::size_t blockIndex = m_directory.findBlock(element);
        return blockIndex == PoolDirectory::NO_BLOCK ? nullptr : m_blocks[blockIndex].get();
    }

    std::size_t addBlock() {
        const std::size_t blockIndex = m_blocks.size();
        auto block = std::make_unique<BlockPool<T>>(m_elementsPerBlock, &m_directory, blockIndex);
        block->setListener(m_listener);
        if (m_isDeferring) {
            block->beginDeferredDeactivation();
        }
        m_blocks.push_back(std::move(block));
        try {
            m_directory.addBlock(m_blocks.back()->buffer(), m_blocks.back()->bufferSize());
        } catch (...) {
            m_blocks.pop_back();
            throw;
        }
        return blockIndex;
    }

    std::size_t m_elementsPerBlock;
    PoolDirectory m_directory; ///< The blocks refer to it, so it is destroyed after them.
    std::vector<std::unique_ptr<BlockPool<T>>> m_blocks;
    BlockPoolListener<T>* m_listener = nullptr;
    bool m_isDeferring = false;
};

} // namespace Kiln::Tessel
