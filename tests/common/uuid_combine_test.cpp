#include <common/uuid.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace Kiln::Tests {
namespace {

/// Texts, because these are the values that are published with the file format.
struct Combination {
    std::string_view first;
    std::string_view second;
    std::string_view combined;
};

void PrintTo(const Combination& combination, std::ostream* stream) {
    *stream << combination.first << " with " << combination.second;
}

class UuidCombineValues : public testing::TestWithParam<Combination> {};

TEST_P(UuidCombineValues, combine_yieldsThePublishedValue) {
    const auto first = Uuid::fromString(GetParam().first);
    const auto second = Uuid::fromString(GetParam().second);
    ASSERT_TRUE(first && second);

    EXPECT_EQ(Uuid::combine(*first, *second).toString(), GetParam().combined);
}

INSTANTIATE_TEST_SUITE_P(
    Published, UuidCombineValues,
    testing::Values(Combination{"00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-000000000000",
                                "01932ff9-c7a2-e016-a5c9-aeb1e259c4a2"},
                    Combination{"00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-000000000001",
                                "566a6e13-fc7e-062c-b90e-697b1651b70f"},
                    Combination{"00000000-0000-0000-0000-000000000001", "00000000-0000-0000-0000-000000000000",
                                "799c3288-6616-821e-37a5-899a8eaa305b"},
                    Combination{"00000000-0000-0000-0000-000000000001", "00000000-0000-0000-0000-000000000002",
                                "40ca53f6-7cb9-e334-6c14-a91fb35746cb"},
                    Combination{"00000000-0000-0000-0000-000000000002", "00000000-0000-0000-0000-000000000001",
                                "a9748733-e4b9-60c0-6125-53c27aa66b2c"},
                    Combination{"5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001", "9d1c6c0a-55d1-4c1e-8a52-7f3e6b2d9f10",
                                "dc872d15-239f-5321-c888-8740bbfb47f7"},
                    Combination{"ffffffff-ffff-ffff-ffff-ffffffffffff", "ffffffff-ffff-ffff-ffff-ffffffffffff",
                                "eb58cd69-d6ee-1355-b107-e9ee1f8b0f06"}));

/// Hand-written UUIDs, which differ in few bits, and random ones.
std::vector<Uuid> samples(int randomOnes) {
    std::vector<Uuid> uuids{Uuid::ZERO,         Uuid(0, 1),          Uuid(1, 0),          Uuid(1, 1),
                            Uuid(0, 2),         Uuid(1ULL << 63, 0), Uuid(0, 1ULL << 63), Uuid(1ULL << 63, 1ULL << 63),
                            Uuid(~0ULL, ~0ULL), Uuid(~0ULL, 0),      Uuid(0, ~0ULL)};
    for (int i = 0; i < randomOnes; ++i) {
        uuids.push_back(Uuid::generate());
    }
    return uuids;
}

TEST(UuidCombine, groupingOfThree_makesNoDifference) {
    const std::vector<Uuid> uuids = samples(20);
    for (const Uuid& a : uuids) {
        for (const Uuid& b : uuids) {
            for (const Uuid& c : uuids) {
                ASSERT_EQ(Uuid::combine(Uuid::combine(a, b), c), Uuid::combine(a, Uuid::combine(b, c)))
                    << a.toString() << " " << b.toString() << " " << c.toString();
            }
        }
    }
}

TEST(UuidCombine, groupingOfALongChain_makesNoDifference) {
    const std::vector<Uuid> uuids = samples(50);
    Uuid fromLeft = uuids.front();
    for (std::size_t i = 1; i < uuids.size(); ++i) {
        fromLeft = Uuid::combine(fromLeft, uuids[i]);
    }
    Uuid fromRight = uuids.back();
    for (std::size_t i = uuids.size() - 1; i-- > 0;) {
        fromRight = Uuid::combine(uuids[i], fromRight);
    }

    EXPECT_EQ(fromLeft, fromRight);
}

TEST(UuidCombine, differentSecondArguments_yieldDifferentUuids) {
    const std::vector<Uuid> seconds = samples(2000);
    for (const Uuid& first : samples(3)) {
        std::unordered_set<Uuid> combined;
        for (const Uuid& second : seconds) {
            combined.insert(Uuid::combine(first, second));
        }
        ASSERT_EQ(combined.size(), seconds.size()) << first.toString();
    }
}

TEST(UuidCombine, differentFirstArguments_yieldDifferentUuids) {
    const std::vector<Uuid> firsts = samples(2000);
    for (const Uuid& second : samples(3)) {
        std::unordered_set<Uuid> combined;
        for (const Uuid& first : firsts) {
            combined.insert(Uuid::combine(first, second));
        }
        ASSERT_EQ(combined.size(), firsts.size()) << second.toString();
    }
}

TEST(UuidCombine, exchangedArguments_yieldADifferentUuid) {
    const std::vector<Uuid> uuids = samples(50);
    for (const Uuid& a : uuids) {
        for (const Uuid& b : uuids) {
            if (a != b) {
                ASSERT_NE(Uuid::combine(a, b), Uuid::combine(b, a)) << a.toString() << " " << b.toString();
            }
        }
    }
}

TEST(UuidCombine, sameArguments_yieldTheSameUuid) {
    const Uuid a = Uuid::generate();
    const Uuid b = Uuid::generate();

    EXPECT_EQ(Uuid::combine(a, b), Uuid::combine(a, b));
}

TEST(UuidCombine, neighbouringUuids_yieldNoPattern) {
    // A nested instance of hand-numbered objects must spread over hash tables: about half of the bits change each time.
    const Uuid instance(0, 1);
    int changedBits = 0;
    constexpr int PAIRS = 256;
    for (std::uint64_t i = 0; i < PAIRS; ++i) {
        const Uuid a = Uuid::combine(instance, Uuid(0, i));
        const Uuid b = Uuid::combine(instance, Uuid(0, i + 1));
        changedBits += __builtin_popcountll(a.high() ^ b.high()) + __builtin_popcountll(a.low() ^ b.low());
    }

    EXPECT_GT(changedBits, PAIRS * 60);
    EXPECT_LT(changedBits, PAIRS * 68);
}

} // namespace
} // namespace Kiln::Tests
