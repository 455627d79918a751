#include "platform_access.h"

#include <object_framework/entry_point.h>
#include <object_framework/reactive_manager.h>
#include <object_framework/world.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace Conformance {
namespace {

using namespace Kiln;
using namespace Kiln::Tessel;

std::vector<std::string> s_calls; ///< What the service was called for.

class Recorder : public IService {
public:
    ~Recorder() override { ++s_destroyedCount; }
    void init() override { s_calls.emplace_back("init"); }
    void fini() override {}
    void tick() override { s_calls.emplace_back("tick"); }
    void postTick() override { s_calls.emplace_back("postTick"); }
    void onWorldDestroyed(int worldId) override {
        // The world is no longer valid when the services hear of it.
        s_calls.push_back(EntryPoint::instance().isWorldValid(worldId) ? "valid world" : "world gone");
    }

    static inline int s_destroyedCount = 0;
};

class Services : public testing::Test {
protected:
    Services() {
        static const bool isRegistered = [] {
            EntryPoint::instance().registerService(typeid(Recorder), std::make_unique<Recorder>());
            return true;
        }();
        static_cast<void>(isRegistered);
    }
};

TEST_F(Services, registration_initialisesOnceAndTheServiceIsFound) {
    ASSERT_NE(EntryPoint::instance().getService<Recorder>(), nullptr);
    EXPECT_EQ(std::count(s_calls.begin(), s_calls.end(), "init"), 1);
}

TEST_F(Services, secondOfOneType_isRefusedAndDestroyed) {
    const Recorder* const first = EntryPoint::instance().getService<Recorder>();
    const int destroyedBefore = Recorder::s_destroyedCount;
    EntryPoint::instance().registerService(typeid(Recorder), std::make_unique<Recorder>());
    EXPECT_EQ(Recorder::s_destroyedCount, destroyedBefore + 1);
    EXPECT_EQ(EntryPoint::instance().getService<Recorder>(), first);
}

TEST_F(Services, unknownType_isNull) {
    class Unknown : public Recorder {};
    EXPECT_EQ(EntryPoint::instance().getService<Unknown>(), nullptr);
}

TEST_F(Services, getService_worksOnAnyThread) {
    const Recorder* const service = EntryPoint::instance().getService<Recorder>();
    std::atomic<int> differencesCount{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([service, &differencesCount] {
            for (int round = 0; round < 1000; ++round) {
                differencesCount += EntryPoint::instance().getService<Recorder>() == service ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(differencesCount, 0);
}

TEST_F(Services, frame_ticksThenPostTicks) {
    s_calls.clear();
    runFrame();
    EXPECT_THAT(s_calls, testing::ElementsAre("tick", "postTick"));
}

TEST_F(Services, destroyedWorld_isInvalidWhenTheServicesAreToldOfIt) {
    const int worldId = createWorld();
    s_calls.clear();
    destroyWorld(worldId);
    EXPECT_THAT(s_calls, testing::ElementsAre("world gone"));
}

TEST(Worlds, world_isValidUntilItIsDestroyed) {
    const EntryPoint& entryPoint = EntryPoint::instance();
    const int worldId = createWorld();
    EXPECT_TRUE(entryPoint.isWorldValid(worldId));
    EXPECT_NE(entryPoint.findValidWorld(worldId), nullptr);
    EXPECT_THAT(entryPoint.worldIds(), testing::Contains(worldId));
    EXPECT_EQ(getGameObjectManager(worldId)->worldId(), worldId);
    destroyWorld(worldId);
    EXPECT_FALSE(entryPoint.isWorldValid(worldId));
    EXPECT_EQ(entryPoint.findValidWorld(worldId), nullptr);
    EXPECT_THAT(entryPoint.worldIds(), testing::Not(testing::Contains(worldId)));
    EXPECT_EQ(getGameObjectManager(worldId), nullptr);
}

TEST(Worlds, unknownId_isNotValid) {
    EXPECT_FALSE(EntryPoint::instance().isWorldValid(-1));
    EXPECT_EQ(EntryPoint::instance().findValidWorld(-1), nullptr);
    EXPECT_EQ(getGameObjectManager(-1), nullptr);
}

/// A load that waits for a world must not end in another one.
TEST(Worlds, ids_areNotUsedAgain) {
    const int first = createWorld();
    destroyWorld(first);
    const int second = createWorld();
    EXPECT_NE(first, second);
    destroyWorld(second);
}

class CountingManager final : public ReactiveManager<CountingManager> {
public:
    void init(World& /*world*/) override { ++s_initialisedCount; }
    void fini(World& /*world*/) override { ++s_finishedCount; }

    static inline int s_initialisedCount = 0;
    static inline int s_finishedCount = 0;
};

TEST(ReactiveManagers, eachWorldHasOneOfEachRegisteredKind) {
    EntryPoint& entryPoint = EntryPoint::instance();
    const int earlyWorld = createWorld();
    const int managerId = entryPoint.registerReactiveManager(&CountingManager::create);
    EXPECT_EQ(CountingManager::s_initialisedCount, 0);
    entryPoint.findValidWorld(earlyWorld)->createReactiveManager(managerId);
    EXPECT_EQ(CountingManager::s_initialisedCount, 1);
    ASSERT_NE(entryPoint.findReactiveManagerRecord(managerId), nullptr);
    entryPoint.findReactiveManagerRecord(managerId)->options = ALL_ROLES;

    const int lateWorld = createWorld();
    EXPECT_EQ(CountingManager::s_initialisedCount, 2);
    destroyWorld(earlyWorld);
    destroyWorld(lateWorld);
    EXPECT_EQ(CountingManager::s_finishedCount, 2);
}

} // namespace
} // namespace Conformance
