#include <core/parallel.h>

#include <atomic>
#include <cerrno>
#include <vector>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

namespace {

/// Number of threads that can still be started.
std::atomic<int> s_threads{0};

using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

} // namespace

/// Replaces the function of the C library, so that threads can run out.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*),
                              void* argument) noexcept {
    static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    return s_threads-- > 0 ? create(thread, attributes, function, argument) : EAGAIN;
}

namespace Kiln {

namespace {

TEST(ThreadFaults, tooFewThreads_othersDoTheWork) {
    for (const int threads : {0, 1, 2}) {
        s_threads = threads;
        std::vector<std::atomic<int>> calls(100);
        forEachIndex(calls.size(), 8, [&](std::size_t index) { ++calls[index]; });
        EXPECT_THAT(std::vector<int>(calls.begin(), calls.end()), testing::Each(1)) << threads;
        EXPECT_EQ(s_threads, -1);
    }
}

} // namespace

} // namespace Kiln
