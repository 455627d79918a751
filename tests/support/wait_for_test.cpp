#include <support/wait_for.h>

#include <gtest/gtest.h>

namespace Kiln::TestSupport {
namespace {

TEST(WaitFor, predicateThatHolds_isCalledOnce) {
    int calls = 0;

    EXPECT_TRUE(waitFor([&] {
        ++calls;
        return true;
    }));
    EXPECT_EQ(calls, 1);
}

TEST(WaitFor, predicateThatHoldsLater_isPolledUntilThen) {
    int calls = 0;

    EXPECT_TRUE(waitFor([&] { return ++calls == 3; }));
    EXPECT_EQ(calls, 3);
}

TEST(WaitFor, predicateThatNeverHolds_isFalseAfterTheLimit) {
    const auto start = std::chrono::steady_clock::now();

    EXPECT_FALSE(waitFor([] { return false; }, std::chrono::milliseconds(5)));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5));
}

} // namespace
} // namespace Kiln::TestSupport
