#include <core/parallel.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <numeric>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln {

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(ThreadsFor, zero_isOnePerProcessor) {
    EXPECT_EQ(threadsFor(0), std::max(std::thread::hardware_concurrency(), 1U));
}

TEST(ThreadsFor, otherNumber_staysTheSame) {
    EXPECT_EQ(threadsFor(7), 7U);
}

TEST(RunOnThreads, severalThreads_eachCallsTheWork) {
    std::mutex mutex;
    std::set<std::thread::id> threads;
    runOnThreads(3, [&] {
        const std::lock_guard lock(mutex);
        threads.insert(std::this_thread::get_id());
    });
    EXPECT_THAT(threads, SizeIs(3));
    EXPECT_TRUE(threads.contains(std::this_thread::get_id()));
}

TEST(RunOnThreads, noThreads_currentThreadWorks) {
    std::vector<std::thread::id> threads;
    runOnThreads(0, [&] { threads.push_back(std::this_thread::get_id()); });
    EXPECT_THAT(threads, ElementsAre(std::this_thread::get_id()));
}

TEST(RunOnThreads, exceptionOfOneThread_isThrownAfterAllHaveEnded) {
    std::atomic<int> calls = 0;
    const std::thread::id current = std::this_thread::get_id();
    const auto work = [&] {
        ++calls;
        if (std::this_thread::get_id() == current) {
            throw std::runtime_error("the current thread fails");
        }
    };
    EXPECT_THAT([&] { runOnThreads(4, work); }, testing::ThrowsMessage<std::runtime_error>("the current thread fails"));
    EXPECT_EQ(calls, 4);
}

TEST(ForEachIndex, severalThreads_eachIndexIsWorkedOnOnce) {
    std::vector<std::atomic<int>> calls(1000);
    forEachIndex(calls.size(), 4, [&](std::size_t index) { ++calls[index]; });
    EXPECT_THAT(std::vector<int>(calls.begin(), calls.end()), Each(1));
}

TEST(ForEachIndex, noIndex_callsNothing) {
    forEachIndex(0, 4, [](std::size_t) { FAIL(); });
}

TEST(ForEachIndex, onDone_countsUpAndNamesEachIndex) {
    std::vector<std::size_t> counts;
    std::set<std::size_t> indices;
    forEachIndex(
        100, 4, [](std::size_t) {},
        [&](std::size_t count, std::size_t index) {
            counts.push_back(count);
            indices.insert(index);
        });
    std::vector<std::size_t> expected(100);
    std::iota(expected.begin(), expected.end(), std::size_t{1});
    EXPECT_EQ(counts, expected);
    EXPECT_THAT(indices, SizeIs(100));
}

TEST(ForEachIndex, exception_endsTheWork) {
    std::vector<std::size_t> worked;
    const auto work = [&](std::size_t index) {
        worked.push_back(index);
        if (index == 2) {
            throw std::runtime_error("index 2 fails");
        }
    };
    EXPECT_THAT([&] { forEachIndex(10, 1, work); }, testing::ThrowsMessage<std::runtime_error>("index 2 fails"));
    EXPECT_THAT(worked, ElementsAre(0, 1, 2));
}

} // namespace

} // namespace Kiln
