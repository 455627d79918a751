#include <tessel_asset_loading/game_object_prefab/uuid_map_recycling.h>
#include <tessel_asset_loading/support/service_fixture.h>

#include <chrono>

namespace Kiln::TestSupport {
namespace {

using Tessel::detail::Deadline;
using Tessel::detail::disposeOf;

constexpr std::uint64_t LARGE = 10'000;

class UuidMapDisposal : public WorldFixture {
protected:
    static Deadline passed() { return Deadline(std::chrono::steady_clock::time_point::min()); }

    static UuidMap makeMap(std::uint64_t count) {
        UuidMap map;
        for (std::uint64_t number = 0; number < count; ++number) {
            map[{1, number}] = Tessel::GameObject::INVALID_GAME_OBJECT;
        }
        return map;
    }
};

TEST_F(UuidMapDisposal, emptyMap_isDone) {
    UuidMap map;
    EXPECT_TRUE(disposeOf(map, passed()));
}

TEST_F(UuidMapDisposal, smallMap_isEmptiedInSteps) {
    UuidMap map = makeMap(1000);
    int steps = 1;
    for (std::size_t before = map.size(); !disposeOf(map, passed()); ++steps) {
        ASSERT_LT(map.size(), before);
        ASSERT_GE(map.size() + 100, before);
        before = map.size();
    }
    EXPECT_GT(steps, 10);
    EXPECT_TRUE(map.empty());
}

TEST_F(UuidMapDisposal, withoutDeadline_isDoneAtOnce) {
    UuidMap map = makeMap(1000);
    EXPECT_TRUE(disposeOf(map, Deadline()));
    EXPECT_TRUE(map.empty());
}

TEST_F(UuidMapDisposal, largeMap_isLeftToAWorker) {
    WorkerGate gate;
    UuidMap map = makeMap(LARGE);
    EXPECT_TRUE(disposeOf(map, passed()));
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(WorkerGate::pendingTasks(), 1U);
}

TEST_F(UuidMapDisposal, largeMapWhileAnotherOneWaits_isEmptiedInSteps) {
    WorkerGate gate;
    UuidMap waiting = makeMap(LARGE);
    EXPECT_TRUE(disposeOf(waiting, passed()));
    UuidMap map = makeMap(LARGE);
    EXPECT_FALSE(disposeOf(map, passed()));
    EXPECT_GE(map.size(), LARGE - 100);
    EXPECT_TRUE(disposeOf(map, Deadline()));
    EXPECT_EQ(WorkerGate::pendingTasks(), 1U);
}

} // namespace
} // namespace Kiln::TestSupport
