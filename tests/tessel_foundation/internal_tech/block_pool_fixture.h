#pragma once

#include <tessel_foundation/pool_test_types.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/assertion_capture.h>
#include <tessel_foundation/internal_tech/block_pool.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Kiln::Tessel::PoolTests {

/// A block of four elements. The elements that a test leaves in it are freed, and no assertion may be left unread.
class BlockPoolTest : public testing::Test {
protected:
    using AllocationState = ElemState::AllocationState;
    using AssertionCapture = TestSupport::AssertionCapture;

    ~BlockPoolTest() override {
        for (std::size_t index = 0; index < block.elementsCount(); ++index) {
            if (block.state(index).allocationState != AllocationState::FREE) {
                block.deallocate(elementAt(index));
            }
        }
        EXPECT_EQ(Item::livingCount, 0);
        EXPECT_THAT(assertions.failures(), testing::IsEmpty());
    }

    Item* elementAt(std::size_t index) const {
        return reinterpret_cast<Item*>(reinterpret_cast<std::uintptr_t>(block.buffer()) + index * sizeof(Item));
    }

    Item* allocateActive(int value) {
        Item* const item = block.allocate(value);
        block.activate(item);
        return item;
    }

    AllocationState stateOf(const Item* item) const { return block.state(block.indexOf(item)).allocationState; }

    /// The failures since the last call.
    std::vector<AssertionCapture::Failure> takeFailures() {
        auto failures = assertions.failures();
        assertions.clear();
        return failures;
    }

    AssertionCapture assertions;
    BlockPool<Item> block{4};
};

} // namespace Kiln::Tessel::PoolTests
