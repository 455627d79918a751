#pragma once

namespace Kiln::Tessel {

template <class T>
class BlockPool;

/// The link from a pooled object of class T, which derives from this, to the block that contains it.
template <class T>
class BlockAllocable {
public:
    BlockAllocable(const BlockAllocable&) = delete;
    BlockAllocable& operator=(const BlockAllocable&) = delete;

    /// Null during construction, and for an object that no pool created.
    [[nodiscard]] BlockPool<T>* block() const noexcept { return m_block; }

    /// Called by the pool that created the object.
    void setBlock(BlockPool<T>* block) noexcept { m_block = block; }

protected:
    BlockAllocable() = default;
    ~BlockAllocable() = default;

private:
    BlockPool<T>* m_block = nullptr;
};

} // namespace Kiln::Tessel
