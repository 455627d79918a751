#include <common/white_space.h>

#include <gtest/gtest.h>

namespace Kiln {

TEST(TrimWhiteSpace, removesItFromBothEnds) {
    EXPECT_EQ(trimWhiteSpace(" \t\r\na b\n "), "a b");
    EXPECT_EQ(trimWhiteSpace("a"), "a");
    EXPECT_EQ(trimWhiteSpace(" \n "), "");
    EXPECT_EQ(trimWhiteSpace(""), "");
    EXPECT_EQ(trimWhiteSpace("\va"), "\va");
}

} // namespace Kiln
