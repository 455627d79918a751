#include "counted.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace Kiln::Tests {
namespace {

TEST(SafeReferenceCount, newObject_hasOneReference) {
    std::atomic<int> destroyed = 0;
    auto* const object = new Counted(destroyed);

    EXPECT_EQ(object->refCount(), 1U);
    object->decRef();
}

TEST(SafeReferenceCount, incRefAndDecRef_changeTheCountByOne) {
    std::atomic<int> destroyed = 0;
    auto* const object = new Counted(destroyed);

    object->incRef();
    EXPECT_EQ(object->refCount(), 2U);
    object->decRef();
    EXPECT_EQ(object->refCount(), 1U);
    object->decRef();
}

TEST(SafeReferenceCount, decRefOfTheLastReference_destroysTheObjectOnce) {
    std::atomic<int> destroyed = 0;
    auto* const object = new Counted(destroyed);
    object->incRef();

    object->decRef();
    EXPECT_EQ(destroyed, 0);
    object->decRef();
    EXPECT_EQ(destroyed, 1);
}

TEST(SafeReferenceCount, decRefThroughTheBase_runsTheDerivedDestructor) {
    std::atomic<int> destroyed = 0;
    const SafeReferenceCount* const object = new DerivedCounted(destroyed);

    object->decRef();

    EXPECT_EQ(destroyed, 1);
}

TEST(SafeReferenceCount, copiedObject_startsWithOneReference) {
    std::atomic<int> destroyed = 0;
    auto* const original = new Counted(destroyed);
    original->incRef();
    original->value = 7;

    auto* const copy = new Counted(*original);

    EXPECT_EQ(copy->refCount(), 1U);
    EXPECT_EQ(copy->value, 7);
    EXPECT_EQ(original->refCount(), 2U);
    copy->decRef();
    original->decRef();
    original->decRef();
    EXPECT_EQ(destroyed, 2);
}

TEST(SafeReferenceCount, assignment_keepsBothCounts) {
    std::atomic<int> destroyed = 0;
    auto* const source = new Counted(destroyed);
    auto* const target = new Counted(destroyed);
    source->incRef();
    source->value = 7;

    *target = *source;

    EXPECT_EQ(target->refCount(), 1U);
    EXPECT_EQ(source->refCount(), 2U);
    EXPECT_EQ(target->value, 7);
    target->decRef();
    source->decRef();
    source->decRef();
}

TEST(SafeReferenceCount, referencesOfManyThreads_destroyTheObjectOnce) {
    constexpr int THREADS = 4;
    constexpr int ROUNDS = 5000;
    std::atomic<int> destroyed = 0;
    auto* const object = new Counted(destroyed);
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        object->incRef();
        threads.emplace_back([object] {
            for (int round = 0; round < ROUNDS; ++round) {
                object->incRef();
                object->decRef();
            }
            object->decRef();
        });
    }
    object->decRef();
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(destroyed, 1);
}

} // namespace
} // namespace Kiln::Tests
