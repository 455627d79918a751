#include "counted.h"

#include <core/smart_pointer.h>

#include <gtest/gtest.h>

#include <concepts>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Kiln::Tests {
namespace {

class SmartPointerTest : public testing::Test {
protected:
    SmartPointer<Counted> make() { return makeSmart<Counted>(destroyed); }

    std::atomic<int> destroyed = 0;
};

static_assert(std::convertible_to<SmartPointer<DerivedCounted>, SmartPointer<Counted>>);
static_assert(std::convertible_to<SmartPointer<Counted>, SmartPointer<const Counted>>);
static_assert(!std::is_constructible_v<SmartPointer<DerivedCounted>, SmartPointer<Counted>>);
static_assert(!std::is_constructible_v<SmartPointer<Counted>, SmartPointer<const Counted>>);
static_assert(!std::is_constructible_v<SmartPointer<Counted>, Counted*>);
static_assert(std::is_nothrow_move_constructible_v<SmartPointer<Counted>>);
static_assert(sizeof(SmartPointer<Counted>) == sizeof(Counted*));

TEST_F(SmartPointerTest, defaultConstructed_isNull) {
    const SmartPointer<Counted> pointer;

    EXPECT_FALSE(pointer);
    EXPECT_EQ(pointer, nullptr);
    EXPECT_EQ(pointer.get(), nullptr);
}

TEST_F(SmartPointerTest, makeSmart_holdsTheOnlyReference) {
    {
        const SmartPointer<Counted> pointer = make();
        EXPECT_EQ(pointer->refCount(), 1U);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST_F(SmartPointerTest, copy_sharesTheObject) {
    const SmartPointer<Counted> pointer = make();
    {
        const SmartPointer<Counted> copy = pointer;
        EXPECT_EQ(copy.get(), pointer.get());
        EXPECT_EQ(pointer->refCount(), 2U);
    }
    EXPECT_EQ(pointer->refCount(), 1U);
}

TEST_F(SmartPointerTest, copyOfNull_isNull) {
    const SmartPointer<Counted> null;
    const SmartPointer<Counted> copy = null;

    EXPECT_FALSE(copy);
}

TEST_F(SmartPointerTest, move_handsTheReferenceOver) {
    SmartPointer<Counted> source = make();
    Counted* const object = source.get();

    const SmartPointer<Counted> target = std::move(source);

    EXPECT_EQ(source.get(), nullptr); // NOLINT(bugprone-use-after-move): a moved-from pointer is null
    EXPECT_EQ(target.get(), object);
    EXPECT_EQ(object->refCount(), 1U);
}

TEST_F(SmartPointerTest, copyToBase_sharesTheObject) {
    const SmartPointer<DerivedCounted> derived = makeSmart<DerivedCounted>(destroyed);

    const SmartPointer<Counted> base = derived;

    EXPECT_EQ(base.get(), derived.get());
    EXPECT_EQ(base->refCount(), 2U);
}

TEST_F(SmartPointerTest, moveToBase_handsTheReferenceOver) {
    SmartPointer<DerivedCounted> derived = makeSmart<DerivedCounted>(destroyed);

    SmartPointer<Counted> base = std::move(derived);

    EXPECT_EQ(derived.get(), nullptr); // NOLINT(bugprone-use-after-move): a moved-from pointer is null
    EXPECT_EQ(base->refCount(), 1U);
    base.reset();
    EXPECT_EQ(destroyed, 1);
}

TEST_F(SmartPointerTest, assignment_dropsTheFormerObject) {
    SmartPointer<Counted> pointer = make();
    const SmartPointer<Counted> other = make();

    pointer = other;

    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(pointer.get(), other.get());
    EXPECT_EQ(other->refCount(), 2U);
}

TEST_F(SmartPointerTest, assignmentOfNull_dropsTheObject) {
    SmartPointer<Counted> pointer = make();

    pointer = nullptr;

    EXPECT_FALSE(pointer);
    EXPECT_EQ(destroyed, 1);
}

TEST_F(SmartPointerTest, selfAssignment_keepsTheObject) {
    SmartPointer<Counted> pointer = make();
    SmartPointer<Counted>& alias = pointer;

    pointer = alias;

    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(pointer->refCount(), 1U);
}

TEST_F(SmartPointerTest, selfMoveAssignment_keepsTheObject) {
    SmartPointer<Counted> pointer = make();
    SmartPointer<Counted>& alias = pointer;

    pointer = std::move(alias);

    EXPECT_EQ(destroyed, 0);
    ASSERT_TRUE(pointer);
    EXPECT_EQ(pointer->refCount(), 1U);
}

TEST_F(SmartPointerTest, assignmentOfAMemberOfTheObject_survivesTheObjectsEnd) {
    struct Node : SafeReferenceCount {
        SmartPointer<Node> next;
    };
    SmartPointer<Node> head = makeSmart<Node>();
    head->next = makeSmart<Node>();
    Node* const second = head->next.get();

    head = head->next;

    EXPECT_EQ(head.get(), second);
    EXPECT_EQ(second->refCount(), 1U);
}

TEST_F(SmartPointerTest, adopt_takesOverTheCallersReference) {
    {
        const auto pointer = SmartPointer<Counted>::adopt(new Counted(destroyed));
        EXPECT_EQ(pointer->refCount(), 1U);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST_F(SmartPointerTest, share_takesAFurtherReference) {
    const SmartPointer<Counted> owner = make();

    const auto shared = SmartPointer<Counted>::share(owner.get());

    EXPECT_EQ(owner->refCount(), 2U);
    EXPECT_EQ(shared, owner);
}

TEST_F(SmartPointerTest, shareOfNull_isNull) {
    EXPECT_FALSE(SmartPointer<Counted>::share(nullptr));
}

TEST_F(SmartPointerTest, release_leavesTheReferenceToTheCaller) {
    SmartPointer<Counted> pointer = make();

    Counted* const object = pointer.release();

    EXPECT_FALSE(pointer);
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(object->refCount(), 1U);
    object->decRef();
}

TEST_F(SmartPointerTest, reset_dropsTheReference) {
    SmartPointer<Counted> pointer = make();

    pointer.reset();

    EXPECT_FALSE(pointer);
    EXPECT_EQ(destroyed, 1);
}

TEST_F(SmartPointerTest, swap_exchangesTheObjects) {
    SmartPointer<Counted> pointer = make();
    SmartPointer<Counted> null;
    Counted* const object = pointer.get();

    pointer.swap(null);

    EXPECT_FALSE(pointer);
    EXPECT_EQ(null.get(), object);
    EXPECT_EQ(object->refCount(), 1U);
}

TEST_F(SmartPointerTest, comparison_isByObject) {
    const SmartPointer<Counted> first = make();
    const SmartPointer<Counted> second = make();
    const SmartPointer<Counted> copy = first; // NOLINT(performance-unnecessary-copy-initialization)

    EXPECT_TRUE(first == copy);
    EXPECT_TRUE(first != second);
    EXPECT_TRUE(first != nullptr);
    EXPECT_TRUE(nullptr != first);
}

TEST_F(SmartPointerTest, hashSet_findsAPointerToTheSameObject) {
    const SmartPointer<Counted> first = make();
    const SmartPointer<Counted> second = make();
    const std::unordered_set<SmartPointer<Counted>> set{first};

    EXPECT_TRUE(set.contains(SmartPointer<Counted>::share(first.get())));
    EXPECT_FALSE(set.contains(second));
}

TEST_F(SmartPointerTest, staticPointerCast_sharesTheObject) {
    const SmartPointer<Counted> base = makeSmart<DerivedCounted>(destroyed);

    const auto derived = staticPointerCast<DerivedCounted>(base);

    EXPECT_EQ(derived.get(), base.get());
    EXPECT_EQ(base->refCount(), 2U);
}

TEST_F(SmartPointerTest, staticPointerCastOfNull_isNull) {
    EXPECT_FALSE(staticPointerCast<DerivedCounted>(SmartPointer<Counted>()));
}

TEST_F(SmartPointerTest, constructorThatThrows_leaksNothing) {
    struct Thrower : SafeReferenceCount {
        Thrower() { throw 1; }
    };

    EXPECT_THROW(static_cast<void>(makeSmart<Thrower>()), int);
}

TEST_F(SmartPointerTest, copiesOnManyThreads_destroyTheObjectOnce) {
    constexpr int THREADS = 4;
    SmartPointer<Counted> pointer = make();
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([own = pointer] {
            for (int round = 0; round < 2000; ++round) {
                SmartPointer<Counted> copy = own;
                const SmartPointer<Counted> moved = std::move(copy);
            }
        });
    }
    pointer.reset();
    for (std::thread& thread : threads) {
        thread.join();
    }
    threads.clear();

    EXPECT_EQ(destroyed, 1);
}

TEST_F(SmartPointerTest, lastReferenceOnAnotherThread_seesTheWritesOfEarlierHolders) {
    // Either thread may drop the last reference; the destructor reads what both wrote, and only the count orders these
    // accesses.
    struct Pair : SafeReferenceCount {
        explicit Pair(int& result) : sum(result) {}
        ~Pair() override { sum = first + second; }
        int first = 0;
        int second = 0;
        int& sum;
    };
    for (int round = 0; round < 200; ++round) {
        int sum = 0;
        auto pointer = makeSmart<Pair>(sum);
        std::thread writer([own = pointer]() mutable {
            own->first = 1;
            own.reset();
        });
        pointer->second = 2;
        pointer.reset();
        writer.join();
        ASSERT_EQ(sum, 3);
    }
}

} // namespace
} // namespace Kiln::Tests
