#include <tessel_asset_loading/game_object_prefab/chunked_list.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <utility>

namespace Kiln::TestSupport {
namespace {

using Element = std::shared_ptr<std::size_t>;
using List = Tessel::detail::ChunkedList<Element>;

constexpr std::size_t CHUNK = List::CHUNK_SIZE;
constexpr std::size_t MANY = 5 * CHUNK + 3;

/// A list of 0, 1, 2 and so on.
List makeList(std::size_t count) {
    List list;
    for (std::size_t i = 0; i < count; ++i) {
        list.push_back(std::make_shared<std::size_t>(i));
    }
    return list;
}

void expectCounts(const List& list, std::size_t count) {
    ASSERT_EQ(list.size(), count);
    for (std::size_t i = 0; i < count; ++i) {
        ASSERT_EQ(*list[i], i);
    }
}

TEST(ChunkedList, newList_isEmpty) {
    const List list;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.size(), 0U);
}

TEST(ChunkedList, elements_areInTheOrderOfTheirAddition) {
    for (const std::size_t count : {std::size_t{1}, CHUNK - 1, CHUNK, CHUNK + 1, MANY}) {
        expectCounts(makeList(count), count);
    }
}

TEST(ChunkedList, elementsOfALongList_neverMove) {
    List list = makeList(CHUNK);
    const Element* const first = &list[0];
    const Element* const last = &list.back();
    for (std::size_t i = CHUNK; i < MANY; ++i) {
        list.push_back(std::make_shared<std::size_t>(i));
    }
    EXPECT_EQ(&list[0], first);
    EXPECT_EQ(&list[CHUNK - 1], last);
}

TEST(ChunkedList, popBack_destroysTheLastElement) {
    List list = makeList(MANY);
    const std::weak_ptr<std::size_t> last = list.back();
    list.pop_back();
    EXPECT_TRUE(last.expired());
    expectCounts(list, MANY - 1);
}

TEST(ChunkedList, emptiedList_canGrowAgain) {
    List list = makeList(MANY);
    while (!list.empty()) {
        list.pop_back();
    }
    for (std::size_t i = 0; i < MANY; ++i) {
        list.push_back(std::make_shared<std::size_t>(i));
    }
    expectCounts(list, MANY);
}

TEST(ChunkedList, atTheBorderOfAChunk_shrinksAndGrows) {
    List list = makeList(2 * CHUNK + 1);
    for (int i = 0; i < 3; ++i) {
        list.pop_back();
        list.pop_back();
        list.push_back(std::make_shared<std::size_t>(2 * CHUNK - 1));
        list.push_back(std::make_shared<std::size_t>(2 * CHUNK));
    }
    expectCounts(list, 2 * CHUNK + 1);
}

TEST(ChunkedList, clear_destroysAllElements) {
    List list = makeList(MANY);
    const std::weak_ptr<std::size_t> first = list.front();
    const std::weak_ptr<std::size_t> last = list.back();
    list.clear();
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(first.expired());
    EXPECT_TRUE(last.expired());
}

TEST(ChunkedList, destructor_destroysAllElements) {
    std::weak_ptr<std::size_t> first;
    std::weak_ptr<std::size_t> last;
    {
        List list = makeList(MANY);
        first = list.front();
        last = list.back();
    }
    EXPECT_TRUE(first.expired());
    EXPECT_TRUE(last.expired());
}

TEST(ChunkedList, move_leavesAnEmptyListThatCanBeUsed) {
    for (const std::size_t count : {std::size_t{0}, std::size_t{3}, MANY}) {
        List list = makeList(count);
        const List moved = std::move(list);
        expectCounts(moved, count);
        EXPECT_TRUE(list.empty()); // NOLINT(bugprone-use-after-move): this is what the test is about.
        list.push_back(std::make_shared<std::size_t>(0));
        expectCounts(list, 1);
    }
}

TEST(ChunkedList, moveAssignment_destroysTheOldElements) {
    List list = makeList(MANY);
    const std::weak_ptr<std::size_t> old = list.back();
    list = makeList(3);
    EXPECT_TRUE(old.expired());
    expectCounts(list, 3);
}

TEST(ChunkedList, reserve_avoidsMovesBelowAChunk) {
    List list;
    list.reserve(100);
    list.push_back(std::make_shared<std::size_t>(0));
    const Element* const first = &list[0];
    for (std::size_t i = 1; i < 100; ++i) {
        list.push_back(std::make_shared<std::size_t>(i));
    }
    EXPECT_EQ(&list[0], first);
    expectCounts(list, 100);
}

TEST(ChunkedList, reserve_ofAnyCount_keepsTheElements) {
    for (const std::size_t count : {std::size_t{0}, std::size_t{3}, CHUNK, MANY}) {
        List list = makeList(count);
        for (const std::size_t reserved : {std::size_t{0}, std::size_t{5}, CHUNK, 10 * CHUNK}) {
            list.reserve(reserved);
            expectCounts(list, count);
        }
        list.push_back(std::make_shared<std::size_t>(count));
        expectCounts(list, count + 1);
    }
}

TEST(ChunkedList, run_endsWithItsChunkAndWithTheList) {
    List list = makeList(2 * CHUNK + 5);
    EXPECT_EQ(list.run(0, 32).size(), 32U);
    EXPECT_EQ(list.run(CHUNK - 3, 32).size(), 3U);
    EXPECT_EQ(list.run(CHUNK, 32).size(), 32U);
    EXPECT_EQ(list.run(2 * CHUNK + 1, 32).size(), 4U);
    EXPECT_EQ(*list.run(CHUNK - 3, 32)[2], CHUNK - 1);
}

} // namespace
} // namespace Kiln::TestSupport
