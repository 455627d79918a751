#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tessel_foundation/dynamic_types_library.h>

#include <cstdint>
#include <latch>
#include <thread>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Kiln::Tessel {
namespace {

struct NoMeta {};

template <int>
struct Tag {};

using SmallLibrary = DynamicTypesLibrary<NoMeta, std::uint8_t, 3>;

TEST(DynamicTypesLibrary, registerType_givesDenseIdsFromZero) {
    SmallLibrary library;
    EXPECT_EQ(library.typesCount(), 0U);
    EXPECT_EQ(library.registerType(typeid(Tag<0>)), 0);
    EXPECT_EQ(library.registerType(typeid(Tag<1>)), 1);
    EXPECT_EQ(library.typesCount(), 2U);
}

TEST(DynamicTypesLibrary, registerType_sameType_sameId) {
    SmallLibrary library;
    library.registerType(typeid(Tag<0>));
    const auto id = library.registerType(typeid(Tag<1>));
    EXPECT_EQ(library.registerType(typeid(Tag<1>)), id);
    EXPECT_EQ(library.typesCount(), 2U);
}

TEST(DynamicTypesLibrary, registerType_fullLibrary_newTypeGetsOverflowId) {
    SmallLibrary library;
    library.registerType(typeid(Tag<0>));
    library.registerType(typeid(Tag<1>));
    EXPECT_EQ(library.registerType(typeid(Tag<2>)), 2);
    EXPECT_EQ(library.registerType(typeid(Tag<3>)), SmallLibrary::OVERFLOW_ID);
    EXPECT_EQ(library.registerType(typeid(Tag<3>)), 3);
    EXPECT_EQ(library.typesCount(), 3U);
}

TEST(DynamicTypesLibrary, registerType_fullLibrary_knownTypesKeepTheirIds) {
    SmallLibrary library;
    library.registerType(typeid(Tag<0>));
    library.registerType(typeid(Tag<1>));
    library.registerType(typeid(Tag<2>));
    library.registerType(typeid(Tag<3>));
    EXPECT_EQ(library.registerType(typeid(Tag<0>)), 0);
    EXPECT_EQ(library.registerType(typeid(Tag<2>)), 2);
}

template <int... NUMBERS>
std::vector<std::uint16_t> registerTags(DynamicTypesLibrary<NoMeta, std::uint16_t, 64>& library,
                                        std::integer_sequence<int, NUMBERS...>) {
    return {library.registerType(typeid(Tag<NUMBERS>))...};
}

TEST(DynamicTypesLibrary, registerType_manyThreads_sameTypeSameId) {
    DynamicTypesLibrary<NoMeta, std::uint16_t, 64> library;
    constexpr std::size_t THREADS_COUNT = 4;
    std::vector<std::vector<std::uint16_t>> ids(THREADS_COUNT);
    std::latch start(THREADS_COUNT);
    {
        std::vector<std::jthread> threads;
        for (auto& ownIds : ids) {
            threads.emplace_back([&library, &start, &ownIds] {
                start.arrive_and_wait();
                ownIds = registerTags(library, std::make_integer_sequence<int, 40>());
            });
        }
    }
    EXPECT_THAT(ids, testing::Each(ids[0]));
    EXPECT_EQ(library.typesCount(), 40U);
    std::vector<std::uint16_t> expected(40);
    for (std::uint16_t id = 0; id < 40; ++id) {
        expected[id] = id;
    }
    EXPECT_THAT(ids[0], testing::UnorderedElementsAreArray(expected));
}

} // namespace
} // namespace Kiln::Tessel
