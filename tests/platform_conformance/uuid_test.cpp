#include <common/matrix.h>
#include <common/uuid.h>

#include <gmock/gmock.h>

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace Conformance {
namespace {

using namespace Kiln;

/// Random UUIDs and ones that people write by hand.
[[nodiscard]] std::vector<Uuid> someUuids() {
    std::vector<Uuid> uuids{Uuid::ZERO, Uuid(0, 1), Uuid(0, 2), Uuid(1, 0), Uuid(1, 1), Uuid(~0ULL, ~0ULL)};
    for (int i = 0; i < 14; ++i) {
        uuids.push_back(Uuid::generate());
    }
    return uuids;
}

struct CombineCase {
    Uuid first;
    Uuid second;
    Uuid combined;
};

class UuidCombineInFiles : public testing::TestWithParam<CombineCase> {};

/// Prefab files place objects under objects of nested prefabs by combined UUIDs, so that the values are part of the
/// file format.
TEST_P(UuidCombineInFiles, combine_hasTheStatedValue) {
    const CombineCase& values = GetParam();
    EXPECT_EQ(Uuid::combine(values.first, values.second), values.combined);
    EXPECT_EQ(UuidCombiner(values.first)(values.second), values.combined);
}

INSTANTIATE_TEST_SUITE_P(
    StatedValues, UuidCombineInFiles,
    testing::Values(CombineCase{{0, 0}, {0, 0}, {0x01932ff9c7a2e016, 0xa5c9aeb1e259c4a2}},
                    CombineCase{{0, 0}, {0, 1}, {0x566a6e13fc7e062c, 0xb90e697b1651b70f}},
                    CombineCase{{0, 1}, {0, 0}, {0x799c32886616821e, 0x37a5899a8eaa305b}},
                    CombineCase{{0, 1}, {0, 2}, {0x40ca53f67cb9e334, 0x6c14a91fb35746cb}},
                    CombineCase{{0, 2}, {0, 1}, {0xa9748733e4b960c0, 0x612553c27aa66b2c}},
                    CombineCase{{0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001},
                                {0x9d1c6c0a55d14c1e, 0x8a527f3e6b2d9f10},
                                {0xdc872d15239f5321, 0xc8888740bbfb47f7}},
                    CombineCase{{~0ULL, ~0ULL}, {~0ULL, ~0ULL}, {0xeb58cd69d6ee1355, 0xb107e9ee1f8b0f06}}));

TEST(UuidAlgebra, combine_isAssociative) {
    const std::vector<Uuid> uuids = someUuids();
    for (const Uuid& a : uuids) {
        for (const Uuid& b : uuids) {
            for (const Uuid& c : uuids) {
                ASSERT_EQ(Uuid::combine(Uuid::combine(a, b), c), Uuid::combine(a, Uuid::combine(b, c)));
            }
        }
    }
}

TEST(UuidAlgebra, combine_isInjectiveInEitherArgument) {
    const std::vector<Uuid> uuids = someUuids();
    for (const Uuid& fixed : uuids) {
        std::unordered_set<Uuid> asFirst;
        std::unordered_set<Uuid> asSecond;
        for (const Uuid& varied : uuids) {
            EXPECT_TRUE(asFirst.insert(Uuid::combine(varied, fixed)).second);
            EXPECT_TRUE(asSecond.insert(Uuid::combine(fixed, varied)).second);
        }
    }
}

/// Instances of prefabs whose UUIDs were counted up by hand must not collide either.
TEST(UuidAlgebra, combine_ofNeighbouringUuids_hasNoCollisions) {
    std::unordered_set<Uuid> combined;
    for (std::uint64_t i = 0; i < 64; ++i) {
        for (std::uint64_t k = 0; k < 64; ++k) {
            EXPECT_TRUE(combined.insert(Uuid::combine(Uuid(0, i), Uuid(0, k))).second) << i << ' ' << k;
        }
    }
}

TEST(UuidAlgebra, combine_orderMatters) {
    EXPECT_NE(Uuid::combine(Uuid(0, 1), Uuid(0, 2)), Uuid::combine(Uuid(0, 2), Uuid(0, 1)));
}

TEST(UuidAlgebra, combiner_isCombine) {
    for (const Uuid& a : someUuids()) {
        const UuidCombiner combiner(a);
        EXPECT_EQ(combiner.first(), a);
        for (const Uuid& b : someUuids()) {
            ASSERT_EQ(combiner(b), Uuid::combine(a, b));
        }
    }
}

TEST(UuidValue, default_isZero) {
    EXPECT_EQ(Uuid(), Uuid::ZERO);
    EXPECT_NE(Uuid(0, 1), Uuid::ZERO);
}

TEST(UuidValue, equalUuids_haveEqualHashes) {
    for (const Uuid& uuid : someUuids()) {
        const Uuid copy = uuid; // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_EQ(std::hash<Uuid>()(uuid), std::hash<Uuid>()(copy));
    }
}

TEST(UuidValue, generate_isUniqueAcrossThreads) {
    std::mutex mutex;
    std::unordered_set<Uuid> all;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&mutex, &all] {
            std::vector<Uuid> mine(2000);
            for (Uuid& uuid : mine) {
                uuid = Uuid::generate();
            }
            const std::scoped_lock lock(mutex);
            all.insert(mine.begin(), mine.end());
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(all.size(), 8000U);
    EXPECT_FALSE(all.contains(Uuid::ZERO));
}

TEST(MatrixValue, default_isTheIdentity) {
    const Matrix matrix;
    for (std::size_t i = 0; i < 16; ++i) {
        EXPECT_EQ(matrix.values[i], i % 5 == 0 ? 1 : 0);
    }
}

} // namespace
} // namespace Conformance
