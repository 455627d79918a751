#include "block_pool_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tessel_foundation/internal_tech/block_pool.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Kiln::Tessel::PoolTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(BlockPoolTest, activate_appendsToAllocatedChain) {
    Item* const zero = block.allocate(0);
    Item* const one = block.allocate(1);
    block.activate(one);
    EXPECT_EQ(block.firstAllocated(), 1);
    EXPECT_EQ(block.lastAllocated(), 1);
    EXPECT_EQ(block.state(1).previousElement, -1);
    EXPECT_EQ(block.state(1).nextElement, -1);

    block.activate(zero);
    EXPECT_EQ(block.firstAllocated(), 1);
    EXPECT_EQ(block.lastAllocated(), 0);
    EXPECT_EQ(block.state(1).nextElement, 0);
    EXPECT_EQ(block.state(0).previousElement, 1);
    EXPECT_EQ(block.state(0).nextElement, -1);
    EXPECT_EQ(stateOf(zero), AllocationState::ACTIVE);
    EXPECT_THAT(activeValues(block), ElementsAre(1, 0));
}

TEST_F(BlockPoolTest, activate_activeElement_isIgnored) {
    RecordingListener<Item> listener;
    Item* const item = allocateActive(1);
    allocateActive(2);
    block.setListener(&listener);
    block.activate(item);
    EXPECT_THAT(activeValues(block), ElementsAre(1, 2));
    EXPECT_THAT(listener.calls, IsEmpty());
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, activate_freeElement_isIgnored) {
    block.activate(elementAt(2));
    EXPECT_EQ(block.firstAllocated(), -1);
    EXPECT_EQ(block.state(2).allocationState, AllocationState::FREE);
    EXPECT_EQ(block.state(2).nextElement, 3);
}

TEST_F(BlockPoolTest, deactivate_first_movesHead) {
    Item* const first = allocateActive(0);
    allocateActive(1);
    allocateActive(2);
    block.deactivate(first);
    EXPECT_EQ(stateOf(first), AllocationState::INACTIVE);
    EXPECT_EQ(block.firstAllocated(), 1);
    EXPECT_EQ(block.lastAllocated(), 2);
    EXPECT_EQ(block.state(1).previousElement, -1);
    EXPECT_THAT(activeValues(block), ElementsAre(1, 2));
}

TEST_F(BlockPoolTest, deactivate_last_movesTail) {
    allocateActive(0);
    allocateActive(1);
    block.deactivate(allocateActive(2));
    EXPECT_EQ(block.firstAllocated(), 0);
    EXPECT_EQ(block.lastAllocated(), 1);
    EXPECT_EQ(block.state(1).nextElement, -1);
}

TEST_F(BlockPoolTest, deactivate_middle_joinsNeighbours) {
    allocateActive(0);
    Item* const middle = allocateActive(1);
    allocateActive(2);
    block.deactivate(middle);
    EXPECT_EQ(block.state(0).nextElement, 2);
    EXPECT_EQ(block.state(2).previousElement, 0);
    EXPECT_THAT(activeValues(block), ElementsAre(0, 2));
}

TEST_F(BlockPoolTest, deactivate_only_emptiesChain) {
    block.deactivate(allocateActive(0));
    EXPECT_EQ(block.firstAllocated(), -1);
    EXPECT_EQ(block.lastAllocated(), -1);
    EXPECT_FALSE(block.empty());
}

TEST_F(BlockPoolTest, deactivate_inactiveElement_isIgnored) {
    RecordingListener<Item> listener;
    block.setListener(&listener);
    block.deactivate(block.allocate(0));
    EXPECT_THAT(listener.calls, IsEmpty());
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, reactivate_goesToTail) {
    Item* const item = allocateActive(0);
    allocateActive(1);
    block.deactivate(item);
    block.activate(item);
    EXPECT_THAT(activeValues(block), ElementsAre(1, 0));
}

TEST_F(BlockPoolTest, listener_getsElementAndIndex) {
    RecordingListener<Item> listener;
    block.setListener(&listener);
    allocateActive(10);
    Item* const item = allocateActive(11);
    block.deactivate(item);
    EXPECT_THAT(listener.calls, ElementsAre("+10@0", "+11@1", "-11@1"));
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, listener_seesActiveElementInChainBothTimes) {
    struct StateListener : BlockPoolListener<Item> {
        explicit StateListener(BlockPool<Item>& pool) : block(pool) {}
        void onActivated(Item&, std::size_t index) override { check(index); }
        void onDeactivating(Item&, std::size_t index) override { check(index); }
        void check(std::size_t index) {
            EXPECT_EQ(block.state(index).allocationState, AllocationState::ACTIVE);
            EXPECT_EQ(block.lastAllocated(), static_cast<std::int64_t>(index));
            ++callsCount;
        }
        BlockPool<Item>& block;
        int callsCount = 0;
    } listener(block);
    block.setListener(&listener);
    block.deactivate(allocateActive(0));
    EXPECT_EQ(listener.callsCount, 2);
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, listener_mayDeactivateOthers) {
    struct CascadingListener : BlockPoolListener<Item> {
        void onActivated(Item&, std::size_t) override {}
        void onDeactivating(Item& item, std::size_t) override {
            if (item.value == 1) {
                block->deactivate(next);
            }
        }
        BlockPool<Item>* block = nullptr;
        Item* next = nullptr;
    } listener;
    allocateActive(0);
    Item* const item = allocateActive(1);
    listener.block = &block;
    listener.next = allocateActive(2);
    allocateActive(3);
    block.setListener(&listener);
    block.deactivate(item);
    EXPECT_THAT(activeValues(block), ElementsAre(0, 3));
    EXPECT_EQ(block.state(0).nextElement, 3);
    EXPECT_EQ(block.state(3).previousElement, 0);
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, deferredMode_elementsStayActiveUntilItEnds) {
    RecordingListener<Item> listener;
    Item* const zero = allocateActive(0);
    Item* const one = allocateActive(1);
    block.setListener(&listener);
    block.beginDeferredDeactivation();
    block.deactivate(one);
    block.deactivate(zero);
    EXPECT_THAT(activeValues(block), ElementsAre(0, 1));
    EXPECT_THAT(listener.calls, IsEmpty());

    block.endDeferredDeactivation();
    EXPECT_THAT(activeValues(block), IsEmpty());
    EXPECT_THAT(listener.calls, ElementsAre("-1@1", "-0@0"));
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, deferredMode_ended_deactivatesAtOnceAgain) {
    Item* const item = allocateActive(0);
    block.beginDeferredDeactivation();
    block.endDeferredDeactivation();
    block.deactivate(item);
    EXPECT_EQ(stateOf(item), AllocationState::INACTIVE);
}

TEST_F(BlockPoolTest, deferredMode_laterActivation_cancels) {
    Item* const item = allocateActive(0);
    block.beginDeferredDeactivation();
    block.deactivate(item);
    block.activate(item);
    block.endDeferredDeactivation();
    EXPECT_EQ(stateOf(item), AllocationState::ACTIVE);
}

TEST_F(BlockPoolTest, deferredMode_deactivatedAgainAfterActivation_countsFromThere) {
    RecordingListener<Item> listener;
    Item* const zero = allocateActive(0);
    Item* const one = allocateActive(1);
    block.setListener(&listener);
    block.beginDeferredDeactivation();
    block.deactivate(zero);
    block.deactivate(one);
    block.activate(zero);
    block.deactivate(zero);
    block.endDeferredDeactivation();
    EXPECT_THAT(listener.calls, ElementsAre("-1@1", "-0@0"));
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, deferredMode_inactiveElementActivatedAfterwards_staysActive) {
    Item* const item = block.allocate(0);
    block.beginDeferredDeactivation();
    block.deactivate(item);
    block.activate(item);
    block.endDeferredDeactivation();
    EXPECT_EQ(stateOf(item), AllocationState::ACTIVE);
}

TEST_F(BlockPoolTest, deferredMode_freedElementInUseAgain_isNotMetByTheOldRequest) {
    RecordingListener<Item> listener;
    Item* const item = allocateActive(0);
    block.beginDeferredDeactivation();
    block.deactivate(item);
    block.deallocate(item);
    EXPECT_EQ(allocateActive(1), item);
    block.setListener(&listener);
    block.endDeferredDeactivation();
    EXPECT_THAT(listener.calls, IsEmpty());
    EXPECT_EQ(stateOf(item), AllocationState::ACTIVE);
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, deferredMode_freedElementInUseAgain_takesItsPlaceByTheNewRequest) {
    RecordingListener<Item> listener;
    Item* const zero = allocateActive(0);
    Item* const one = allocateActive(1);
    block.beginDeferredDeactivation();
    block.deactivate(zero);
    block.deactivate(one);
    block.deallocate(zero);
    block.deactivate(allocateActive(2));
    block.setListener(&listener);
    block.endDeferredDeactivation();
    EXPECT_THAT(listener.calls, ElementsAre("-1@1", "-2@0"));
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, deferredMode_freedElement_isDeactivatedAtOnceAndOnce) {
    RecordingListener<Item> listener;
    Item* const item = allocateActive(0);
    block.setListener(&listener);
    block.beginDeferredDeactivation();
    block.deactivate(item);
    block.deallocate(item);
    EXPECT_THAT(listener.calls, ElementsAre("-0@0"));
    EXPECT_EQ(block.firstAllocated(), -1);
    block.endDeferredDeactivation();
    EXPECT_THAT(listener.calls, ElementsAre("-0@0"));
    EXPECT_EQ(block.state(0).allocationState, AllocationState::FREE);
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, deferredMode_freedElementAllocatedAgain_staysInactive) {
    RecordingListener<Item> listener;
    Item* const item = allocateActive(0);
    block.beginDeferredDeactivation();
    block.deactivate(item);
    block.deallocate(item);
    EXPECT_EQ(block.allocate(1), item);
    block.setListener(&listener);
    block.endDeferredDeactivation();
    EXPECT_THAT(listener.calls, IsEmpty());
    EXPECT_EQ(stateOf(item), AllocationState::INACTIVE);
    block.setListener(nullptr);
}

TEST_F(BlockPoolTest, deferredMode_foreignObject_isReportedAtOnce) {
    Item outside(1);
    block.beginDeferredDeactivation();
    block.deactivate(&outside);
    EXPECT_THAT(takeFailures(), ElementsAre(notInBuffer()));
    block.endDeferredDeactivation();
}

TEST_F(BlockPoolTest, forEachActive_mayFreeTheCurrentElement) {
    for (int value = 0; value < 4; ++value) {
        allocateActive(value);
    }
    std::vector<int> visited;
    block.forEachActive([&](Item& item) {
        visited.push_back(item.value);
        if (item.value % 2 == 0) {
            block.deallocate(&item);
        } else {
            block.deactivate(&item);
        }
    });
    EXPECT_THAT(visited, ElementsAre(0, 1, 2, 3));
    EXPECT_EQ(block.firstAllocated(), -1);
}

TEST_F(BlockPoolTest, forEachActive_deferredMode_mayDeactivateAnyElement) {
    Item* items[4];
    for (int value = 0; value < 4; ++value) {
        items[value] = allocateActive(value);
    }
    std::vector<int> visited;
    block.beginDeferredDeactivation();
    block.forEachActive([&](Item& item) {
        visited.push_back(item.value);
        block.deactivate(items[3 - item.value]);
    });
    block.endDeferredDeactivation();
    EXPECT_THAT(visited, ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(activeValues(block), IsEmpty());
}

} // namespace
} // namespace Kiln::Tessel::PoolTests
