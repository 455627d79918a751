#include <kiln_prefab/bench/bench_output.h>
#include <kiln_prefab/bench/sample_statistics.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabTool {
namespace {

using std::chrono::nanoseconds;

[[nodiscard]] std::vector<nanoseconds> upTo(int count) {
    std::vector<nanoseconds> samples;
    for (int i = count; i > 0; --i) {
        samples.emplace_back(i);
    }
    return samples;
}

TEST(Percentile, isTheSampleOfTheNearestRank) {
    EXPECT_EQ(percentile(upTo(100), 50), nanoseconds(50));
    EXPECT_EQ(percentile(upTo(100), 99), nanoseconds(99));
    EXPECT_EQ(percentile(upTo(20), 99), nanoseconds(20));
    EXPECT_EQ(percentile(upTo(3), 50), nanoseconds(2));
    EXPECT_EQ(percentile(upTo(1), 99), nanoseconds(1));
}

TEST(Percentile, extremes_areTheSmallestAndTheLargestSample) {
    EXPECT_EQ(percentile(upTo(7), 0), nanoseconds(1));
    EXPECT_EQ(percentile(upTo(7), 100), nanoseconds(7));
}

TEST(Percentile, ofNoSamples_isZero) {
    EXPECT_EQ(percentile({}, 50), nanoseconds(0));
}

TEST(PerSecond, isTheRate) {
    EXPECT_DOUBLE_EQ(perSecond(500, std::chrono::milliseconds(250)), 2000);
    EXPECT_DOUBLE_EQ(perSecond(500, nanoseconds(0)), 0);
}

TEST(DurationText, hasAUnitThatFits) {
    EXPECT_EQ(durationText(nanoseconds(7)), "7.00 ns");
    EXPECT_EQ(durationText(nanoseconds(12'345)), "12.3 us");
    EXPECT_EQ(durationText(std::chrono::microseconds(456'789)), "457 ms");
    EXPECT_EQ(durationText(std::chrono::milliseconds(2'500)), "2.50 s");
}

TEST(LargeNumberText, hasAPrefixThatFits) {
    EXPECT_EQ(largeNumberText(0), "0 ");
    EXPECT_EQ(largeNumberText(999), "999 ");
    EXPECT_EQ(largeNumberText(1'234), "1.23 k");
    EXPECT_EQ(largeNumberText(-45'600'000), "-45.6 M");
    EXPECT_EQ(largeNumberText(7.89e11), "789 G");
}

} // namespace
} // namespace Kiln::PrefabTool
