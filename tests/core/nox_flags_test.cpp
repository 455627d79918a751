#include <core/nox_flags.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

namespace nox::Tests {
namespace {

enum class Side : std::uint8_t { LEFT = 0x01, RIGHT = 0x02, TOP = 0x80, LEFT_AND_RIGHT = 0x03 };
enum PlainOption : unsigned { OPTION_A = 1, OPTION_B = 2 };
using Sides = Flags<Side>;

static_assert(std::is_same_v<Sides::Bits, std::uint8_t>);
static_assert(sizeof(Sides) == sizeof(std::uint8_t));
static_assert((Flags<Side>(Side::LEFT) | Side::TOP).bits() == 0x81, "usable in constant expressions");

TEST(NoxFlags, defaultConstructed_isEmpty) {
    const Sides sides;

    EXPECT_EQ(sides.bits(), 0);
    EXPECT_FALSE(sides);
}

TEST(NoxFlags, constructedFromAValue_hasThatValueOnly) {
    const Sides sides = Side::RIGHT;

    EXPECT_TRUE(sides.has(Side::RIGHT));
    EXPECT_FALSE(sides.has(Side::LEFT));
    EXPECT_TRUE(sides);
}

TEST(NoxFlags, constructedFromBits_keepsBitsWithoutAName) {
    EXPECT_EQ(Sides(std::uint8_t{0x44}).bits(), 0x44);
}

TEST(NoxFlags, or_joinsTheSets) {
    EXPECT_EQ((Sides(Side::LEFT) | Side::TOP).bits(), 0x81);
    EXPECT_EQ((Side::TOP | Sides(Side::LEFT)).bits(), 0x81);
}

TEST(NoxFlags, and_intersectsTheSets) {
    const Sides both = Sides(Side::LEFT) | Side::TOP;

    EXPECT_EQ(both & Side::TOP, Sides(Side::TOP));
    EXPECT_EQ(both & Side::RIGHT, Sides());
}

TEST(NoxFlags, compoundAssignments_changeTheSet) {
    Sides sides = Side::LEFT;

    sides |= Side::TOP;
    EXPECT_EQ(sides.bits(), 0x81);
    sides &= Side::TOP;
    EXPECT_EQ(sides.bits(), 0x80);
}

TEST(NoxFlags, hasOfACombinedValue_needsAllItsBits) {
    EXPECT_FALSE(Sides(Side::LEFT).has(Side::LEFT_AND_RIGHT));
    EXPECT_TRUE((Sides(Side::LEFT) | Side::RIGHT).has(Side::LEFT_AND_RIGHT));
}

TEST(NoxFlags, hasAny_needsOneSharedBit) {
    EXPECT_TRUE(Sides(Side::LEFT).hasAny(Side::LEFT_AND_RIGHT));
    EXPECT_FALSE(Sides(Side::TOP).hasAny(Side::LEFT_AND_RIGHT));
    EXPECT_FALSE(Sides(Side::TOP).hasAny(Sides()));
}

TEST(NoxFlags, unscopedEnumeration_worksToo) {
    const Flags<PlainOption> options = Flags<PlainOption>(OPTION_A) | OPTION_B;

    EXPECT_EQ(options.bits(), 3U);
}

} // namespace
} // namespace nox::Tests
