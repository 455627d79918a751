#include "block_pool_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tessel_foundation/internal_tech/block_pool.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace Kiln::Tessel::PoolTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using AllocationState = ElemState::AllocationState;

TEST_F(BlockPoolTest, newBlock_allElementsAreFreeInOneChain) {
    EXPECT_TRUE(block.empty());
    EXPECT_EQ(block.elementsCount(), 4U);
    EXPECT_EQ(block.firstAllocated(), -1);
    EXPECT_EQ(block.lastAllocated(), -1);
    EXPECT_EQ(block.nextFree(), 0);
    for (std::size_t index = 0; index < 4; ++index) {
        EXPECT_EQ(block.state(index).allocationState, AllocationState::FREE);
        EXPECT_EQ(block.state(index).nextElement, index == 3 ? -1 : static_cast<std::int64_t>(index) + 1);
        EXPECT_EQ(block.state(index).previousElement, static_cast<std::int64_t>(index) - 1);
    }
}

TEST_F(BlockPoolTest, newBlock_bufferIsZeroFilled) {
    const std::vector<std::byte> zeros(4 * sizeof(Item));
    // A block that gets the memory of this one must not take over its contents.
    std::make_unique<std::vector<std::byte>>(zeros.size(), std::byte{0xFF}).reset();
    const BlockPool<Item> fresh(4);
    ASSERT_EQ(fresh.bufferSize(), zeros.size());
    EXPECT_EQ(std::memcmp(fresh.buffer(), zeros.data(), zeros.size()), 0);
}

TEST(BlockPoolClass, destructor_isVirtual) {
    EXPECT_TRUE(std::has_virtual_destructor_v<BlockPool<Item>>);
}

TEST_F(BlockPoolTest, zeroElements_areTakenAsOne) {
    const BlockPool<Item> smallest(0);
    EXPECT_EQ(smallest.elementsCount(), 1U);
    EXPECT_EQ(smallest.nextFree(), 0);
    EXPECT_EQ(smallest.state(0).nextElement, -1);
}

TEST(BlockPoolLimits, tooManyElements_throwsBeforeAllocating) {
    // The buffer of the last two could not be allocated.
    for (const std::size_t count : {ElemStates::MAX_SIZE + 1, std::size_t{1} << 50U, static_cast<std::size_t>(-1)}) {
        EXPECT_THROW(const BlockPool<Item> block(count), std::length_error);
    }
}

TEST(BlockPoolAlignment, overAlignedElements_areAligned) {
    struct alignas(128) Wide {
        char value = 'w';
    };
    BlockPool<Wide> block(3);
    for (int i = 0; i < 3; ++i) {
        Wide* const wide = block.allocate();
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(wide) % 128, 0U);
        EXPECT_EQ(block.indexOf(wide), static_cast<std::size_t>(i));
    }
    for (std::size_t index = 3; index-- > 0;) {
        block.deallocate(reinterpret_cast<Wide*>(reinterpret_cast<std::uintptr_t>(block.buffer()) + index * 128));
    }
}

TEST(ElemStateNumbers, states_areZeroOneTwo) {
    EXPECT_EQ(static_cast<int>(AllocationState::ACTIVE), 0);
    EXPECT_EQ(static_cast<int>(AllocationState::INACTIVE), 1);
    EXPECT_EQ(static_cast<int>(AllocationState::FREE), 2);
    EXPECT_EQ(sizeof(AllocationState), 1U);
    EXPECT_LT(offsetof(ElemState, nextElement), offsetof(ElemState, previousElement));
    EXPECT_LT(offsetof(ElemState, previousElement), offsetof(ElemState, allocationState));
}

TEST_F(BlockPoolTest, allocate_takesHeadOfFreeChainAsInactive) {
    Item* const item = block.allocate(7);
    EXPECT_EQ(block.indexOf(item), 0U);
    EXPECT_EQ(item->value, 7);
    EXPECT_EQ(stateOf(item), AllocationState::INACTIVE);
    EXPECT_EQ(block.nextFree(), 1);
    EXPECT_EQ(block.state(1).previousElement, -1);
    EXPECT_EQ(block.firstAllocated(), -1);
    EXPECT_FALSE(block.empty());
}

TEST(BlockPoolConstruction, allocate_constructorSeesItsElementTakenOffTheFreeChain) {
    struct Watching {
        explicit Watching(const BlockPool<Watching>& block)
            : state(block.state(block.indexOf(this)).allocationState), nextFree(block.nextFree()) {}
        AllocationState state;
        std::int64_t nextFree;
    };
    BlockPool<Watching> block(2);
    Watching* const watching = block.allocate(block);
    EXPECT_EQ(watching->state, AllocationState::INACTIVE);
    EXPECT_EQ(watching->nextFree, 1);
    block.deallocate(watching);
}

TEST_F(BlockPoolTest, allocate_elementsLieNextToEachOther) {
    Item* const first = block.allocate(0);
    EXPECT_EQ(block.allocate(1), first + 1);
    EXPECT_EQ(block.allocate(2), first + 2);
    EXPECT_EQ(block.allocate(3), first + 3);
    EXPECT_EQ(block.nextFree(), -1);
}

TEST_F(BlockPoolTest, allocate_fullBlock_reportsAndReturnsNull) {
    for (int value = 0; value < 4; ++value) {
        block.allocate(value);
    }
    EXPECT_EQ(block.allocate(4), nullptr);
    EXPECT_THAT(takeFailures(), ElementsAre(poolFailure("m_nextFree != ElemState::NO_ELEMENT", "The block is full")));
    EXPECT_EQ(Item::livingCount, 4);
}

TEST_F(BlockPoolTest, allocate_headOfFreeChainNotFree_reportsAndReturnsNull) {
    struct BreakableBlock : BlockPool<Item> {
        using BlockPool::BlockPool;
        using BlockPool::elementStates;
    };
    BreakableBlock broken(4);
    broken.elementStates().setAllocationState(0, AllocationState::INACTIVE);
    EXPECT_EQ(broken.allocate(1), nullptr);
    broken.elementStates().setAllocationState(0, AllocationState::FREE);
    EXPECT_THAT(takeFailures(),
                ElementsAre(poolFailure("m_elementStates[idx].allocationState == ElemState::AllocationState::FREE",
                                        "The free chain is broken")));
    EXPECT_EQ(Item::livingCount, 0);
}

TEST_F(BlockPoolTest, allocate_throwingConstructor_elementIsFreeAgain) {
    EXPECT_THROW(block.allocate(1, true), std::runtime_error);
    EXPECT_TRUE(block.empty());
    EXPECT_EQ(block.nextFree(), 0);
    EXPECT_EQ(block.state(0).nextElement, 1);
    EXPECT_EQ(block.state(1).previousElement, 0);
    EXPECT_EQ(block.state(0).allocationState, AllocationState::FREE);
    EXPECT_EQ(block.indexOf(block.allocate(2)), 0U);
}

TEST_F(BlockPoolTest, allocate_throwingConstructorInLastElement_elementIsFreeAgain) {
    for (int value = 0; value < 3; ++value) {
        block.allocate(value);
    }
    EXPECT_THROW(block.allocate(3, true), std::runtime_error);
    EXPECT_EQ(block.nextFree(), 3);
    EXPECT_EQ(block.state(3).nextElement, -1);
}

TEST_F(BlockPoolTest, deallocate_putsElementAtHeadOfFreeChain) {
    Item* const zero = block.allocate(0);
    Item* const one = block.allocate(1);
    block.deallocate(zero);
    EXPECT_EQ(Item::livingCount, 1);
    EXPECT_EQ(block.nextFree(), 0);
    EXPECT_EQ(block.state(0).nextElement, 2);
    EXPECT_EQ(block.state(0).previousElement, -1);
    EXPECT_EQ(block.state(2).previousElement, 0);
    block.deallocate(one);
    EXPECT_EQ(block.nextFree(), 1);
    EXPECT_TRUE(block.empty());
}

TEST_F(BlockPoolTest, deallocate_inFullBlock_givesRoomAgain) {
    Item* items[4];
    for (int value = 0; value < 4; ++value) {
        items[value] = block.allocate(value);
    }
    block.deallocate(items[2]);
    EXPECT_EQ(block.nextFree(), 2);
    EXPECT_EQ(block.state(2).nextElement, -1);
    EXPECT_EQ(block.allocate(5), items[2]);
}

TEST_F(BlockPoolTest, deallocate_inactiveElement_isSilent) {
    RecordingListener<Item> listener;
    block.setListener(&listener);
    block.deallocate(block.allocate(0));
    EXPECT_THAT(listener.calls, IsEmpty());
    EXPECT_THAT(takeFailures(), IsEmpty());
    EXPECT_EQ(Item::livingCount, 0);
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, deallocate_activeElement_leavesAllocatedChainAndNotifiesListener) {
    RecordingListener<Item> listener;
    allocateActive(0);
    Item* const item = allocateActive(1);
    allocateActive(2);
    block.setListener(&listener);
    block.deallocate(item);
    EXPECT_THAT(listener.calls, ElementsAre("-1@1"));
    EXPECT_THAT(activeValues(block), ElementsAre(0, 2));
    EXPECT_EQ(block.nextFree(), 1);
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, deallocate_freeElement_reportsAndChangesNothing) {
    Item* const item = allocateActive(0);
    block.deallocate(item);
    block.deallocate(item);
    EXPECT_THAT(takeFailures(), ElementsAre(freedTwice()));
    EXPECT_EQ(Item::livingCount, 0);
    EXPECT_EQ(block.nextFree(), 0);
    EXPECT_EQ(block.state(0).nextElement, 1);
}

TEST_F(BlockPoolTest, deallocate_destructorActivatesItself_elementIsFree) {
    struct Clinging {
        explicit Clinging(BlockPool<Clinging>& owner) : block(owner) {}
        ~Clinging() { block.activate(this); }
        BlockPool<Clinging>& block;
    };
    BlockPool<Clinging> clingingBlock(2);
    clingingBlock.deallocate(clingingBlock.allocate(clingingBlock));
    EXPECT_EQ(clingingBlock.firstAllocated(), -1);
    EXPECT_TRUE(clingingBlock.empty());
}

TEST_F(BlockPoolTest, foreignObject_isReportedByEachOperationAndLeftAlone) {
    Item outside(1);
    block.activate(&outside);
    block.deactivate(&outside);
    block.deallocate(&outside);
    EXPECT_THAT(takeFailures(), ElementsAre(notInBuffer(), notInBuffer(), notInBuffer()));
    EXPECT_EQ(Item::livingCount, 1);
}

TEST_F(BlockPoolTest, nullObject_isReported) {
    block.deallocate(nullptr);
    EXPECT_THAT(takeFailures(), ElementsAre(notInBuffer()));
}

TEST_F(BlockPoolTest, isBufferPtr_acceptsElementAddressesOnly) {
    EXPECT_TRUE(block.isBufferPtr(elementAt(0)));
    EXPECT_TRUE(block.isBufferPtr(elementAt(3)));
    EXPECT_FALSE(block.isBufferPtr(elementAt(4)));
    const auto begin = reinterpret_cast<std::uintptr_t>(block.buffer());
    EXPECT_FALSE(block.isBufferPtr(reinterpret_cast<const Item*>(begin - sizeof(Item))));
    EXPECT_FALSE(block.isBufferPtr(reinterpret_cast<const Item*>(begin + alignof(Item))));
    EXPECT_FALSE(block.isBufferPtr(nullptr));
}

TEST_F(BlockPoolTest, destruction_emptyBlock_isSilent) {
    auto temporary = std::make_unique<BlockPool<Item>>(2);
    temporary->deallocate(temporary->allocate(1));
    temporary.reset();
    EXPECT_THAT(takeFailures(), IsEmpty());
}

TEST_F(BlockPoolTest, destruction_objectsLeft_reportsOnceAndDestroysThem) {
    auto temporary = std::make_unique<BlockPool<Item>>(4);
    temporary->allocate(1);
    temporary->activate(temporary->allocate(2));
    temporary->deallocate(temporary->allocate(3));
    temporary.reset();
    EXPECT_THAT(takeFailures(), ElementsAre(blockNotEmpty()));
    EXPECT_EQ(Item::livingCount, 0);
}

} // namespace
} // namespace Kiln::Tessel::PoolTests
