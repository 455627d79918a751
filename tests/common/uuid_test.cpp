#include <common/uuid.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace Kiln::Tests {
namespace {

constexpr std::string_view SAMPLE_TEXT = "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001";
constexpr Uuid SAMPLE(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001);

static_assert(std::is_trivially_copyable_v<Uuid>);
static_assert(sizeof(Uuid) == 16);

TEST(Uuid, defaultConstructed_isZero) {
    EXPECT_EQ(Uuid(), Uuid::ZERO);
    EXPECT_EQ(Uuid().high(), 0U);
    EXPECT_EQ(Uuid().low(), 0U);
}

TEST(Uuid, comparison_ordersByHighHalfFirst) {
    EXPECT_LT(Uuid(1, 9), Uuid(2, 0));
    EXPECT_LT(Uuid(1, 8), Uuid(1, 9));
    EXPECT_NE(Uuid(1, 2), Uuid(2, 1));
}

TEST(Uuid, toString_writesLowerCaseHighHalfFirst) {
    EXPECT_EQ(SAMPLE.toString(), SAMPLE_TEXT);
    EXPECT_EQ(Uuid(0x0123456789abcdef, 0xfedcba9876543210).toString(), "01234567-89ab-cdef-fedc-ba9876543210");
    EXPECT_EQ(Uuid::ZERO.toString(), "00000000-0000-0000-0000-000000000000");
    EXPECT_EQ(Uuid(~0ULL, ~0ULL).toString(), "ffffffff-ffff-ffff-ffff-ffffffffffff");
}

TEST(Uuid, fromString_readsLowerCase) {
    EXPECT_EQ(Uuid::fromString(SAMPLE_TEXT), SAMPLE);
}

TEST(Uuid, fromString_readsUpperAndMixedCase) {
    EXPECT_EQ(Uuid::fromString("5B0F1C2E-6A0D-4F43-9F6E-0D9A35B1C001"), SAMPLE);
    EXPECT_EQ(Uuid::fromString("5b0F1c2E-6a0D-4f43-9F6e-0d9A35b1c001"), SAMPLE);
}

TEST(Uuid, fromString_readsZero) {
    EXPECT_EQ(Uuid::fromString("00000000-0000-0000-0000-000000000000"), Uuid::ZERO);
}

TEST(Uuid, fromString_readsAPartOfALongerText) {
    const std::string text = "<uuid>" + std::string(SAMPLE_TEXT) + "</uuid>";

    EXPECT_EQ(Uuid::fromString(std::string_view(text).substr(6, 36)), SAMPLE);
}

TEST(Uuid, textOfRandomUuids_readsBackToTheSame) {
    for (int i = 0; i < 1000; ++i) {
        const Uuid uuid = Uuid::generate();
        ASSERT_EQ(Uuid::fromString(uuid.toString()), uuid);
    }
}

class MalformedUuidText : public testing::TestWithParam<std::string_view> {};

TEST_P(MalformedUuidText, fromString_yieldsNothing) {
    EXPECT_EQ(Uuid::fromString(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Length, MalformedUuidText,
                         testing::Values("", "-", "5b0f1c2e", "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c00",
                                         "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c0011", "5b0f1c2e6a0d4f439f6e0d9a35b1c001",
                                         "5b0f1c2e6a0d4f439f6e0d9a35b1c0010000"));

INSTANTIATE_TEST_SUITE_P(Dashes, MalformedUuidText,
                         testing::Values("5b0f1c2e6-a0d-4f43-9f6e-0d9a35b1c001", "5b0f1c2-e6a0d-4f43-9f6e-0d9a35b1c001",
                                         "5b0f1c2e-6a0d4-f43-9f6e-0d9a35b1c001", "5b0f1c2e-6a0d-4f439-f6e-0d9a35b1c001",
                                         "5b0f1c2e-6a0d-4f43-9f6e0-d9a35b1c001", "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c00-",
                                         "-5b0f1c2-6a0d-4f43-9f6e-0d9a35b1c001", "5b0f1c2e_6a0d_4f43_9f6e_0d9a35b1c001",
                                         "5b0f1c2e 6a0d 4f43 9f6e 0d9a35b1c001",
                                         "------------------------------------"));

INSTANTIATE_TEST_SUITE_P(
    Surroundings, MalformedUuidText,
    testing::Values("{5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001}", " 5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001",
                    "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001 ", "{b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c00}",
                    " b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001", "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c00 ",
                    "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001\n", "urn:uuid:5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001"));

TEST(Uuid, fromStringWithAnyOtherCharacterAsADigit_yieldsNothing) {
    constexpr std::string_view DIGITS = "0123456789abcdefABCDEF";
    for (int code = 0; code < 256; ++code) {
        const char character = static_cast<char>(code);
        const bool isDigit = DIGITS.find(character) != std::string_view::npos;
        for (const std::size_t position : {0U, 7U, 9U, 17U, 19U, 24U, 35U}) {
            std::string text(SAMPLE_TEXT);
            text[position] = character;
            ASSERT_EQ(Uuid::fromString(text).has_value(), isDigit) << "code " << code << " at " << position;
        }
    }
}

TEST(Uuid, hash_isEqualForEqualUuidsAndSpreadsHandWrittenOnes) {
    EXPECT_EQ(std::hash<Uuid>()(Uuid(1, 2)), std::hash<Uuid>()(Uuid(1, 2)));
    std::set<std::size_t> hashes;
    for (std::uint64_t high = 0; high < 32; ++high) {
        for (std::uint64_t low = 0; low < 32; ++low) {
            hashes.insert(Uuid(high, low).hash());
        }
    }
    EXPECT_EQ(hashes.size(), 32U * 32U);
}

TEST(Uuid, hash_uuidsMadeForAKnownHash_haveDifferentHashes) {
    // All of them have the same value of (high ^ low) * GOLDEN + low.
    constexpr std::uint64_t GOLDEN = 0x9e3779b97f4a7c15ULL;
    constexpr std::uint64_t INVERSE = 0xf1de83e19937733dULL;
    static_assert(GOLDEN * INVERSE == 1);
    std::set<std::size_t> hashes;
    for (std::uint64_t low = 1; low <= 1000; ++low) {
        hashes.insert(Uuid(((12345 - low) * INVERSE) ^ low, low).hash());
    }
    EXPECT_EQ(hashes.size(), 1000U);
}

TEST(Uuid, hash_fillsTheBucketsOfATableEvenly) {
    std::unordered_set<Uuid> uuids(8);
    for (std::uint64_t number = 0; number < 10'000; ++number) {
        uuids.emplace(number << 32, number);
    }
    std::size_t most = 0;
    for (std::size_t bucket = 0; bucket < uuids.bucket_count(); ++bucket) {
        most = std::max(most, uuids.bucket_size(bucket));
    }
    // With at most one entry per bucket on average, more than 15 are expected once in 10^9 runs.
    EXPECT_LE(most, 15U);
}

TEST(UuidDeathTest, hash_differsFromProcessToProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // Executes the program again instead of only forking.
    EXPECT_EXIT(
        {
            std::fprintf(stderr, "hash %zu.", SAMPLE.hash());
            std::_Exit(0);
        },
        testing::ExitedWithCode(0),
        testing::AllOf(testing::StartsWith("hash "), testing::Not("hash " + std::to_string(SAMPLE.hash()) + ".")));
}

TEST(Uuid, generate_setsVersionFourAndTheVariant) {
    for (int i = 0; i < 1000; ++i) {
        const Uuid uuid = Uuid::generate();
        ASSERT_EQ(uuid.high() >> 12 & 0xf, 4U) << uuid.toString();
        ASSERT_EQ(uuid.low() >> 62, 2U) << uuid.toString();
    }
}

TEST(Uuid, generate_variesEveryOtherBit) {
    // Fails by chance once in 2^500 runs.
    Uuid everSet;
    Uuid everClear;
    for (int i = 0; i < 512; ++i) {
        const Uuid uuid = Uuid::generate();
        everSet = Uuid(everSet.high() | uuid.high(), everSet.low() | uuid.low());
        everClear = Uuid(everClear.high() | ~uuid.high(), everClear.low() | ~uuid.low());
    }

    EXPECT_EQ(everSet.high() & everClear.high(), ~0xf000ULL);
    EXPECT_EQ(everSet.low() & everClear.low(), ~(3ULL << 62));
}

TEST(Uuid, generateOnManyThreads_yieldsDistinctUuids) {
    constexpr std::size_t THREADS = 8;
    constexpr std::size_t UUIDS = 2000;
    std::array<std::vector<Uuid>, THREADS> perThread;
    std::vector<std::thread> threads;
    for (std::vector<Uuid>& uuids : perThread) {
        threads.emplace_back([&uuids] {
            for (std::size_t i = 0; i < UUIDS; ++i) {
                uuids.push_back(Uuid::generate());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    std::unordered_set<Uuid> all;
    for (const std::vector<Uuid>& uuids : perThread) {
        all.insert(uuids.begin(), uuids.end());
    }
    EXPECT_EQ(all.size(), THREADS * UUIDS);
}

} // namespace
} // namespace Kiln::Tests
