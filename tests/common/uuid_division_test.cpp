#include <common/uuid_division.h>

#include <gtest/gtest.h>

namespace Kiln {

namespace {

TEST(UuidDivider, combinedUuid_yieldsTheSecondArgument) {
    for (int i = 0; i < 1000; ++i) {
        const Uuid first = Uuid::generate();
        const Uuid second = Uuid::generate();
        EXPECT_EQ(UuidDivider(first)(Uuid::combine(first, second)), second);
    }
}

TEST(UuidDivider, zeroAndSmallUuids_areNoException) {
    const Uuid uuids[] = {Uuid::ZERO, Uuid(0, 1), Uuid(1, 0), Uuid(~0ULL, ~0ULL)};
    for (const Uuid& first : uuids) {
        for (const Uuid& second : uuids) {
            EXPECT_EQ(UuidDivider(first)(Uuid::combine(first, second)), second);
        }
    }
}

TEST(UuidDivider, anyUuid_hasASecondArgument) {
    const Uuid first = Uuid::generate();
    const Uuid combined = Uuid::generate();
    EXPECT_EQ(Uuid::combine(first, UuidDivider(first)(combined)), combined);
}

} // namespace

} // namespace Kiln
