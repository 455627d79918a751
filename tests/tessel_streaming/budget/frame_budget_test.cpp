#include <tessel_streaming/budget/frame_budget.h>

#include <gtest/gtest.h>

#include <chrono>

namespace Kiln::Tessel::Streaming::detail {
namespace {

using std::chrono::microseconds;

/// Runs a frame that takes at least that long.
void runFrame(FrameBudget& budget, microseconds duration, bool hasWorked = true) {
    budget.beginFrame();
    const FrameBudget::Clock::time_point end = FrameBudget::Clock::now() + duration;
    while (FrameBudget::Clock::now() < end) {
    }
    budget.endFrame(hasWorked);
}

[[nodiscard]] Statistics statisticsOf(const FrameBudget& budget) {
    Statistics statistics;
    budget.fill(statistics);
    return statistics;
}

TEST(FrameBudget, framesWithoutWork_areCountedButHaveNoTimes) {
    FrameBudget budget;
    runFrame(budget, microseconds(100), false);
    EXPECT_EQ(statisticsOf(budget).frames, 1U);
    EXPECT_EQ(statisticsOf(budget).usedMaximum, microseconds(0));
}

TEST(FrameBudget, percentileOfFewFrames_isTheLongestOne) {
    FrameBudget budget;
    for (const int duration : {3'000, 100, 1'000}) {
        runFrame(budget, microseconds(duration));
        const Statistics statistics = statisticsOf(budget);
        EXPECT_GE(statistics.usedMaximum, microseconds(3'000));
        EXPECT_EQ(statistics.used99thPercentile, statistics.usedMaximum);
        EXPECT_LE(statistics.usedMedian, statistics.usedMaximum);
    }
}

TEST(FrameBudget, medianOfTwoFrames_isTheShorterOne) {
    FrameBudget budget;
    runFrame(budget, microseconds(200));
    const microseconds first = statisticsOf(budget).usedMedian;
    runFrame(budget, microseconds(100'000));
    EXPECT_EQ(statisticsOf(budget).usedMedian, first);
}

} // namespace
} // namespace Kiln::Tessel::Streaming::detail
