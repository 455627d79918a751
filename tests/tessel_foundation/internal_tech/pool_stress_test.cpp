#include <tessel_foundation/pool_test_types.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/assertion_capture.h>
#include <tessel_foundation/internal_tech/multiblock_pool.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <stdexcept>
#include <vector>

namespace Kiln::Tessel::PoolTests {
namespace {

using AllocationState = ElemState::AllocationState;

/// A model of the pool with the simplest possible bookkeeping.
struct Model {
    struct Object {
        Item* item;
        int value;
    };
    struct Block {
        std::vector<std::size_t> freeIndices;   ///< The head of the free chain is the last.
        std::vector<std::size_t> activeIndices; ///< In order of activation.
        std::vector<std::size_t> deferred;      ///< In order of the requests.
    };

    std::vector<Object> objects;
    std::vector<Block> blocks;
    bool isDeferring = false;
};

class PoolStress : public testing::TestWithParam<std::size_t> {
protected:
    std::size_t blockOf(const Item& item) const {
        std::size_t block = 0;
        while (&pool.block(block) != item.block()) {
            ++block;
        }
        return block;
    }

    void create(int value, bool fails) {
        std::size_t number = 0;
        while (number < model.blocks.size() && model.blocks[number].freeIndices.empty()) {
            ++number;
        }
        if (number == model.blocks.size()) {
            auto& freeIndices = model.blocks.emplace_back().freeIndices;
            for (std::size_t index = pool.elementsPerBlock(); index-- > 0;) {
                freeIndices.push_back(index);
            }
        }
        if (fails) {
            EXPECT_THROW(pool.createData(value, true), std::runtime_error);
            return;
        }
        Item* const item = pool.createData(value);
        auto& freeIndices = model.blocks[number].freeIndices;
        ASSERT_EQ(blockOf(*item), number);
        ASSERT_EQ(pool.block(number).indexOf(item), freeIndices.back());
        freeIndices.pop_back();
        model.objects.push_back({item, value});
    }

    void activate(const Model::Object& object) {
        Model::Block& block = model.blocks[blockOf(*object.item)];
        const std::size_t index = object.item->block()->indexOf(object.item);
        object.item->block()->activate(object.item);
        std::erase(block.deferred, index);
        if (std::count(block.activeIndices.begin(), block.activeIndices.end(), index) == 0) {
            block.activeIndices.push_back(index);
        }
    }

    void deactivate(const Model::Object& object) {
        Model::Block& block = model.blocks[blockOf(*object.item)];
        const std::size_t index = object.item->block()->indexOf(object.item);
        object.item->block()->deactivate(object.item);
        if (!model.isDeferring) {
            std::erase(block.activeIndices, index);
        } else if (std::count(block.deferred.begin(), block.deferred.end(), index) == 0) {
            block.deferred.push_back(index);
        }
    }

    void free(std::size_t objectIndex) {
        const Model::Object object = model.objects[objectIndex];
        Model::Block& block = model.blocks[blockOf(*object.item)];
        const std::size_t index = object.item->block()->indexOf(object.item);
        EXPECT_EQ(object.item->value, object.value);
        object.item->block()->deallocate(object.item);
        std::erase(block.activeIndices, index);
        std::erase(block.deferred, index);
        block.freeIndices.push_back(index);
        model.objects[objectIndex] = model.objects.back();
        model.objects.pop_back();
    }

    void toggleDeferring() {
        if (!model.isDeferring) {
            pool.beginDeferredDeactivation();
        } else {
            pool.endDeferredDeactivation();
            for (Model::Block& block : model.blocks) {
                for (const std::size_t index : block.deferred) {
                    std::erase(block.activeIndices, index);
                }
                block.deferred.clear();
            }
        }
        model.isDeferring = !model.isDeferring;
    }

    /// Walks a chain from its head and checks the links in both directions; returns the indices, the tail in `last`.
    static std::vector<std::size_t> chain(const BlockPool<Item>& block, std::int64_t head, std::int64_t& last) {
        std::vector<std::size_t> indices;
        last = -1;
        for (std::int64_t index = head; index != -1; index = block.state(indices.back()).nextElement) {
            EXPECT_EQ(block.state(static_cast<std::size_t>(index)).previousElement, last);
            last = index;
            indices.push_back(static_cast<std::size_t>(index));
        }
        return indices;
    }

    void checkBlock(std::size_t number) const {
        const BlockPool<Item>& block = pool.block(number);
        const Model::Block& expected = model.blocks[number];
        std::int64_t last = -1;
        EXPECT_EQ(chain(block, block.firstAllocated(), last), expected.activeIndices);
        EXPECT_EQ(block.lastAllocated(), last);
        std::vector<std::size_t> freeChain = chain(block, block.nextFree(), last);
        std::reverse(freeChain.begin(), freeChain.end());
        EXPECT_EQ(freeChain, expected.freeIndices);

        std::vector<AllocationState> states(block.elementsCount(), AllocationState::INACTIVE);
        for (const std::size_t index : expected.activeIndices) {
            states[index] = AllocationState::ACTIVE;
        }
        for (const std::size_t index : expected.freeIndices) {
            states[index] = AllocationState::FREE;
        }
        for (std::size_t index = 0; index < states.size(); ++index) {
            EXPECT_EQ(block.state(index).allocationState, states[index]);
        }
        EXPECT_EQ(block.empty(), expected.freeIndices.size() == block.elementsCount());
    }

    void check() const {
        ASSERT_EQ(pool.blocksCount(), model.blocks.size());
        std::size_t activeCount = 0;
        for (std::size_t number = 0; number < model.blocks.size(); ++number) {
            checkBlock(number);
            activeCount += model.blocks[number].activeIndices.size();
        }
        EXPECT_EQ(pool.allocatedCount(), model.objects.size());
        EXPECT_EQ(pool.activeCount(), activeCount);
        EXPECT_EQ(Item::livingCount, static_cast<int>(model.objects.size()));
    }

    void step(std::mt19937& random, int value) {
        const auto draw = [&random](std::size_t count) {
            return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
        };
        // The number of objects rises and falls in long waves, so that blocks fill up and empty again.
        const std::size_t wave = (value / 400) % 2 == 0 ? 45U : 20U;
        const std::size_t choice = draw(100);
        if (choice < wave || model.objects.empty()) {
            create(value, draw(20) == 0);
        } else if (choice < 65) {
            free(draw(model.objects.size()));
        } else if (choice < 82) {
            activate(model.objects[draw(model.objects.size())]);
        } else if (choice < 97) {
            deactivate(model.objects[draw(model.objects.size())]);
        } else {
            toggleDeferring();
        }
    }

    TestSupport::AssertionCapture assertions;
    MultiBlockPool<Item> pool{GetParam()};
    Model model;
};

TEST_P(PoolStress, randomOperations_agreeWithModel) {
    std::mt19937 random(20240607U + static_cast<unsigned>(GetParam()));
    for (int value = 0; value < 4000 && !HasFailure(); ++value) {
        step(random, value);
        check();
    }
    EXPECT_GT(pool.blocksCount(), 1U);
    while (!model.objects.empty()) {
        free(model.objects.size() - 1);
    }
    check();
    EXPECT_EQ(assertions.count(), 0U);
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, PoolStress, testing::Values(1U, 2U, 7U, 32U), testing::PrintToStringParamName());

TEST(PoolStressLarge, thousandsOfFullBlocks_createTakesTheOneWithRoom) {
    constexpr int COUNT = 20'000;
    MultiBlockPool<Item> pool(1);
    std::vector<Item*> items;
    for (int value = 0; value < COUNT; ++value) {
        items.push_back(pool.createData(value));
    }
    for (int round = 0; round < COUNT; ++round) {
        Item*& item = items[static_cast<std::size_t>(round)];
        item->block()->deallocate(item);
        item = pool.createData(round);
        ASSERT_EQ(item->block(), &pool.block(static_cast<std::size_t>(round)));
    }
    for (Item* const item : items) {
        item->block()->deallocate(item);
    }
    EXPECT_EQ(pool.blocksCount(), static_cast<std::size_t>(COUNT));
}

} // namespace
} // namespace Kiln::Tessel::PoolTests
