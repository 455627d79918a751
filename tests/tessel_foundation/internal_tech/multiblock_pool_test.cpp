#include <tessel_foundation/pool_test_types.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/assertion_capture.h>
#include <tessel_foundation/internal_tech/multiblock_pool.h>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <vector>

namespace Kiln::Tessel::PoolTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::AssertionCapture;
using AllocationState = ElemState::AllocationState;

/// A pool with two elements per block; a test frees what it makes.
class MultiBlockPoolTest : public testing::Test {
protected:
    ~MultiBlockPoolTest() override {
        EXPECT_TRUE(pool.isEmpty());
        EXPECT_EQ(pool.activeCount(), 0U);
        EXPECT_EQ(Item::livingCount, 0);
        EXPECT_THAT(assertions.failures(), IsEmpty());
    }

    std::vector<Item*> create(int count) {
        std::vector<Item*> items;
        for (int value = 0; value < count; ++value) {
            items.push_back(pool.createData(value));
        }
        return items;
    }

    std::vector<Item*> createActive(int count) {
        std::vector<Item*> items = create(count);
        for (Item* const item : items) {
            item->block()->activate(item);
        }
        return items;
    }

    static void deallocate(const std::vector<Item*>& items) {
        for (Item* const item : items) {
            item->block()->deallocate(item);
        }
    }

    std::vector<AssertionCapture::Failure> takeFailures() {
        auto failures = assertions.failures();
        assertions.clear();
        return failures;
    }

    AssertionCapture assertions;
    MultiBlockPool<Item> pool{2};
};

TEST_F(MultiBlockPoolTest, newPool_hasNoBlocks) {
    EXPECT_EQ(pool.blocksCount(), 0U);
    EXPECT_TRUE(pool.isEmpty());
    EXPECT_EQ(pool.elementsPerBlock(), 2U);
}

TEST_F(MultiBlockPoolTest, zeroElementsPerBlock_areTakenAsOne) {
    MultiBlockPool<Item> smallest(0);
    Item* const first = smallest.createData(1);
    Item* const second = smallest.createData(2);
    EXPECT_EQ(smallest.elementsPerBlock(), 1U);
    EXPECT_EQ(smallest.blocksCount(), 2U);
    deallocate({first, second});
}

TEST_F(MultiBlockPoolTest, createData_makesInactiveElementThatKnowsItsBlock) {
    Item* const item = pool.createData(5);
    EXPECT_EQ(item->value, 5);
    EXPECT_EQ(item->block(), &pool.block(0));
    EXPECT_EQ(pool.block(0).state(0).allocationState, AllocationState::INACTIVE);
    EXPECT_EQ(pool.allocatedCount(), 1U);
    EXPECT_EQ(pool.activeCount(), 0U);
    EXPECT_FALSE(pool.isEmpty());
    deallocate({item});
}

TEST_F(MultiBlockPoolTest, createData_allBlocksFull_makesExactlyOneBlock) {
    const auto items = create(4);
    EXPECT_EQ(pool.blocksCount(), 2U);
    Item* const item = pool.createData(4);
    EXPECT_EQ(pool.blocksCount(), 3U);
    EXPECT_EQ(item->block(), &pool.block(2));
    EXPECT_EQ(pool.block(2).indexOf(item), 0U);
    EXPECT_EQ(pool.block(2).elementsCount(), 2U);
    EXPECT_NE(pool.block(2).owner(), nullptr);
    EXPECT_EQ(pool.block(2).owner(), pool.block(0).owner());
    deallocate(items);
    deallocate({item});
}

TEST_F(MultiBlockPoolTest, createData_takesFirstBlockWithRoom) {
    auto items = create(6);
    items[5]->block()->deallocate(items[5]);
    items[1]->block()->deallocate(items[1]);
    items[1] = pool.createData(10);
    EXPECT_EQ(items[1]->block(), &pool.block(0));
    items[5] = pool.createData(11);
    EXPECT_EQ(items[5]->block(), &pool.block(2));
    EXPECT_EQ(pool.blocksCount(), 3U);
    deallocate(items);
}

TEST_F(MultiBlockPoolTest, createData_addressesStayWhenThePoolGrows) {
    const auto items = create(1000);
    EXPECT_EQ(pool.blocksCount(), 500U);
    for (int value = 0; value < 1000; ++value) {
        EXPECT_EQ(items[static_cast<std::size_t>(value)]->value, value);
    }
    deallocate(items);
    EXPECT_EQ(pool.blocksCount(), 500U);
}

TEST_F(MultiBlockPoolTest, createData_throwingConstructor_leavesPoolAsItWas) {
    Item* const item = pool.createData(0);
    EXPECT_THROW(pool.createData(1, true), std::runtime_error);
    EXPECT_EQ(pool.allocatedCount(), 1U);
    EXPECT_EQ(pool.block(0).nextFree(), 1);
    deallocate({item});
}

TEST_F(MultiBlockPoolTest, createData_throwingConstructorInLastElement_blockHasRoomAgain) {
    Item* const item = pool.createData(0);
    EXPECT_THROW(pool.createData(1, true), std::runtime_error);
    Item* const second = pool.createData(2);
    EXPECT_EQ(second->block(), &pool.block(0));
    EXPECT_EQ(pool.blocksCount(), 1U);
    deallocate({item, second});
}

TEST(MultiBlockPoolNesting, createData_constructorCreatesInSamePool_allElementsAreSound) {
    struct Nested : BlockAllocable<Nested> {
        Nested(MultiBlockPool<Nested>& owner, int depth)
            : inner(depth == 0 ? nullptr : owner.createData(owner, depth - 1)) {}
        ~Nested() {
            if (inner != nullptr) {
                inner->block()->deallocate(inner);
            }
        }
        Nested* inner;
    };
    MultiBlockPool<Nested> pool(2);
    Nested* const outer = pool.createData(pool, 6);
    EXPECT_EQ(pool.allocatedCount(), 7U);
    EXPECT_EQ(pool.blocksCount(), 4U);
    EXPECT_EQ(outer->block(), &pool.block(0));
    outer->block()->deallocate(outer);
    EXPECT_TRUE(pool.isEmpty());
}

TEST_F(MultiBlockPoolTest, counts_followAllocationAndActivation) {
    const auto items = createActive(3);
    EXPECT_EQ(pool.allocatedCount(), 3U);
    EXPECT_EQ(pool.activeCount(), 3U);
    items[1]->block()->deactivate(items[1]);
    EXPECT_EQ(pool.activeCount(), 2U);
    items[0]->block()->deallocate(items[0]);
    EXPECT_EQ(pool.allocatedCount(), 2U);
    EXPECT_EQ(pool.activeCount(), 1U);
    deallocate({items[1], items[2]});
}

TEST_F(MultiBlockPoolTest, freeData_activeElement_isSilent) {
    const auto items = createActive(3);
    for (Item* const item : items) {
        pool.freeData(item);
    }
    EXPECT_THAT(takeFailures(), IsEmpty());
}

TEST_F(MultiBlockPoolTest, freeData_inactiveElement_reportsAndFrees) {
    pool.freeData(pool.createData(1));
    EXPECT_THAT(takeFailures(), ElementsAre(notActive()));
    EXPECT_TRUE(pool.isEmpty());
}

TEST_F(MultiBlockPoolTest, freeData_freeElement_reportsAndChangesNothing) {
    const auto items = createActive(2);
    pool.freeData(items[0]);
    pool.freeData(items[0]);
    EXPECT_THAT(takeFailures(), ElementsAre(notActive()));
    EXPECT_EQ(pool.allocatedCount(), 1U);
    EXPECT_EQ(pool.block(0).nextFree(), 0);
    pool.freeData(items[1]);
}

TEST_F(MultiBlockPoolTest, freeData_foreignObject_reportsAndLeavesItAlone) {
    {
        Item outside(1);
        pool.freeData(&outside);
        EXPECT_EQ(Item::livingCount, 1);
    }
    pool.freeData(nullptr);
    EXPECT_THAT(takeFailures(), ElementsAre(noAllocator(), noAllocator()));
}

TEST_F(MultiBlockPoolTest, freeData_elementOfAnotherPool_reportsAndLeavesItAlone) {
    MultiBlockPool<Item> other(2);
    Item* const item = other.createData(1);
    item->block()->activate(item);
    pool.freeData(item);
    EXPECT_THAT(takeFailures(), ElementsAre(noAllocator()));
    EXPECT_EQ(other.activeCount(), 1U);
    other.freeData(item);
}

TEST_F(MultiBlockPoolTest, freeData_addressInsideElement_reportsAndLeavesItAlone) {
    const auto items = createActive(1);
    pool.freeData(reinterpret_cast<Item*>(reinterpret_cast<std::uintptr_t>(items[0]) + alignof(Item)));
    EXPECT_THAT(takeFailures(), ElementsAre(notInBuffer()));
    EXPECT_EQ(pool.activeCount(), 1U);
    pool.freeData(items[0]);
}

TEST_F(MultiBlockPoolTest, getBlock_activeElement_isItsBlock) {
    const auto items = createActive(5);
    EXPECT_EQ(pool.getBlock(items[1]), &pool.block(0));
    EXPECT_EQ(pool.getBlock(items[4]), &pool.block(2));
    EXPECT_THAT(takeFailures(), IsEmpty());
    deallocate(items);
}

TEST_F(MultiBlockPoolTest, getBlock_inactiveElement_reportsAndReturnsItsBlock) {
    Item* const item = pool.createData(1);
    EXPECT_EQ(pool.getBlock(item), &pool.block(0));
    EXPECT_THAT(takeFailures(), ElementsAre(notActive()));
    deallocate({item});
}

TEST_F(MultiBlockPoolTest, getBlock_withoutAllocator_reportsAndReturnsNull) {
    const Item outside(1);
    EXPECT_EQ(pool.getBlock(&outside), nullptr);
    EXPECT_THAT(takeFailures(), ElementsAre(noAllocator()));
}

TEST_F(MultiBlockPoolTest, owns_distinguishesPools) {
    MultiBlockPool<Item> other(2);
    Item* const item = pool.createData(1);
    const Item outside(2);
    EXPECT_TRUE(pool.owns(*item));
    EXPECT_FALSE(other.owns(*item));
    EXPECT_FALSE(pool.owns(outside));
    deallocate({item});
}

TEST_F(MultiBlockPoolTest, setListener_holdsForOldAndNewBlocks) {
    RecordingListener<Item> listener;
    const auto items = create(2);
    pool.setListener(&listener);
    Item* const newest = pool.createData(2);
    items[1]->block()->activate(items[1]);
    newest->block()->activate(newest);
    pool.setListener(nullptr);
    newest->block()->deactivate(newest);
    EXPECT_THAT(listener.calls, ElementsAre("+1@1", "+2@0"));
    deallocate(items);
    deallocate({newest});
}

TEST_F(MultiBlockPoolTest, deferredMode_holdsForOldAndNewBlocks) {
    auto items = createActive(2);
    pool.beginDeferredDeactivation();
    items.push_back(pool.createData(2));
    items[2]->block()->activate(items[2]);
    items[2]->block()->deactivate(items[2]);
    items[0]->block()->deactivate(items[0]);
    EXPECT_THAT(activeValues(pool), ElementsAre(0, 1, 2));
    pool.endDeferredDeactivation();
    EXPECT_THAT(activeValues(pool), ElementsAre(1));

    items[1]->block()->deactivate(items[1]);
    EXPECT_EQ(pool.activeCount(), 0U);
    deallocate(items);
}

TEST_F(MultiBlockPoolTest, forEachActive_goesBlockAfterBlockInOrderOfActivation) {
    const auto items = create(4);
    for (const std::size_t index : {3U, 1U, 2U, 0U}) {
        items[index]->block()->activate(items[index]);
    }
    EXPECT_THAT(activeValues(pool), ElementsAre(1, 0, 3, 2));
    deallocate(items);
}

TEST_F(MultiBlockPoolTest, forEachActive_functionCreatesElements_isSafe) {
    auto items = createActive(2);
    int visitedCount = 0;
    pool.forEachActive([&](Item&) {
        ++visitedCount;
        for (int i = 0; i < 100; ++i) {
            items.push_back(pool.createData(i));
        }
    });
    EXPECT_EQ(visitedCount, 2);
    deallocate(items);
}

TEST_F(MultiBlockPoolTest, destruction_objectsLeft_reportsOncePerBlockThatHoldsSome) {
    auto temporary = std::make_unique<MultiBlockPool<Item>>(2);
    for (int value = 0; value < 5; ++value) {
        temporary->createData(value);
    }
    for (const std::size_t index : {0U, 1U}) {
        BlockPool<Item>& block = temporary->block(1);
        block.deallocate(static_cast<Item*>(const_cast<void*>(block.buffer())) + index);
    }
    temporary.reset();
    EXPECT_THAT(takeFailures(), ElementsAre(blockNotEmpty(), blockNotEmpty()));
    EXPECT_EQ(Item::livingCount, 0);
}

} // namespace
} // namespace Kiln::Tessel::PoolTests
