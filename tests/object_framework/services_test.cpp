#include "world_fixture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>

namespace Kiln::Tessel::FrameworkTests {

/// A service that records its calls in the journal of the current test. Services can't be unregistered, so each test
/// uses service types of its own, which `Number` tells apart.
template <int Number>
class RecordingService final : public IService {
public:
    explicit RecordingService(std::string serviceName) : name(std::move(serviceName)) { write("make"); }
    ~RecordingService() override { write("destroy"); }

    void init() override { write("init"); }
    void fini() override { write("fini"); }
    void tick() override {
        write("tick");
        if (onTick) {
            onTick();
        }
    }
    void postTick() override {
        write("postTick");
        if (onPostTick) {
            onPostTick();
        }
    }
    void onWorldDestroyed(int worldId) override {
        write(EntryPoint::instance().isWorldValid(worldId) ? "valid world" : "world destroyed");
        destroyedWorlds.push_back(worldId);
        if (onDestroyed) {
            onDestroyed(worldId);
        }
    }

    std::string name;
    std::vector<int> destroyedWorlds;
    std::function<void()> onTick;
    std::function<void()> onPostTick;
    std::function<void(int)> onDestroyed;

    static inline std::vector<std::string>* journal = nullptr;

private:
    void write(const char* event) const {
        if (journal) {
            journal->push_back(std::string(event) + " " + name);
        }
    }
};

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Services : public testing::Test {
protected:
    /// Registers a service under its own type and returns it.
    template <int Number>
    RecordingService<Number>& add(const std::string& name) {
        RecordingService<Number>::journal = &journal;
        entryPoint.registerService(typeid(RecordingService<Number>), std::make_unique<RecordingService<Number>>(name));
        return *entryPoint.getService<RecordingService<Number>>();
    }

    /// The service stays registered, but no longer records or does anything.
    template <int... Numbers>
    void silence() {
        ((RecordingService<Numbers>::journal = nullptr), ...);
        ((entryPoint.getService<RecordingService<Numbers>>()->onTick = nullptr), ...);
        ((entryPoint.getService<RecordingService<Numbers>>()->onPostTick = nullptr), ...);
        ((entryPoint.getService<RecordingService<Numbers>>()->onDestroyed = nullptr), ...);
    }

    EntryPoint& entryPoint = EntryPoint::instance();
    std::vector<std::string> journal;
};

TEST_F(Services, getService_unknownType_isNull) {
    EXPECT_EQ(entryPoint.getService(typeid(Services)), nullptr);
}

TEST_F(Services, registerService_initialisesItOnceItCanBeFound) {
    const RecordingService<0>& service = add<0>("a");
    EXPECT_THAT(journal, ElementsAre("make a", "init a"));
    EXPECT_EQ(entryPoint.getService(typeid(RecordingService<0>)), &service);
    silence<0>();
}

TEST_F(Services, registerService_secondUnderOneType_isDestroyedAtOnce) {
    const RecordingService<1>& first = add<1>("first");
    journal.clear();
    entryPoint.registerService(typeid(RecordingService<1>), std::make_unique<RecordingService<1>>("second"));
    EXPECT_THAT(journal, ElementsAre("make second", "destroy second"));
    EXPECT_EQ(entryPoint.getService<RecordingService<1>>(), &first);
    silence<1>();
}

TEST_F(Services, tick_ticksAllInOrderOfRegistrationThenPostTicksAll) {
    add<2>("a");
    add<3>("b");
    journal.clear();
    entryPoint.tick();
    EXPECT_THAT(journal, ElementsAre("tick a", "tick b", "postTick a", "postTick b"));
    silence<2, 3>();
}

TEST_F(Services, tick_reactionsRunAfterEveryService) {
    add<4>("a");
    const int worldId = entryPoint.createWorld();
    entryPoint.findValidWorld(worldId)->addTickReaction("g", "n", [this] { journal.emplace_back("reaction"); });
    journal.clear();
    entryPoint.tick();
    EXPECT_THAT(journal, ElementsAre("tick a", "postTick a", "reaction"));
    silence<4>();
    entryPoint.destroyWorld(worldId);
}

TEST_F(Services, serviceRegisteredWithinAFrame_isTickedInIt) {
    RecordingService<5>& a = add<5>("a");
    a.onTick = [this] { add<6>("b"); };
    journal.clear();
    entryPoint.tick();
    EXPECT_THAT(journal, ElementsAre("tick a", "make b", "init b", "tick b", "postTick a", "postTick b"));
    silence<5, 6>();
}

TEST_F(Services, destroyWorld_tellsEveryServiceOnceWhenTheWorldIsInvalid) {
    const RecordingService<7>& a = add<7>("a");
    const RecordingService<8>& b = add<8>("b");
    const int worldId = entryPoint.createWorld();
    journal.clear();
    entryPoint.destroyWorld(worldId);
    entryPoint.destroyWorld(worldId);
    EXPECT_THAT(journal, ElementsAre("world destroyed a", "world destroyed b"));
    EXPECT_THAT(a.destroyedWorlds, ElementsAre(worldId));
    EXPECT_THAT(b.destroyedWorlds, ElementsAre(worldId));
    silence<7, 8>();
}

TEST_F(Services, destroyWorldFromOnWorldDestroyed_bothGo) {
    RecordingService<9>& service = add<9>("a");
    const int first = entryPoint.createWorld();
    const int second = entryPoint.createWorld();
    service.onDestroyed = [this, second](int) { entryPoint.destroyWorld(second); };
    entryPoint.destroyWorld(first);
    EXPECT_FALSE(entryPoint.isWorldValid(first));
    EXPECT_FALSE(entryPoint.isWorldValid(second));
    EXPECT_THAT(service.destroyedWorlds, ElementsAre(first, second));
    silence<9>();
}

TEST_F(Services, worldDestroyedInTick_keepsItsObjectsUntilTheFrameEnds) {
    RecordingService<10>& service = add<10>("a");
    const int worldId = entryPoint.createWorld();
    World& world = *entryPoint.findValidWorld(worldId);
    const GameObject object = world.manager().createGameObject();
    world.manager().addComponent(object, world.getStorage<ComponentA>().create(),
                                 NativeComponent<ComponentA>::getType());
    int reactions = 0;
    world.addTickReaction("g", "n", [&reactions] { ++reactions; });
    service.onTick = [&] {
        entryPoint.destroyWorld(worldId);
        EXPECT_FALSE(entryPoint.isWorldValid(worldId));
        EXPECT_FALSE(isValid(object));
        EXPECT_TRUE(world.manager().isGameObjectValid(object));
    };
    service.onPostTick = [&] {
        EXPECT_TRUE(world.manager().isGameObjectValid(object));
        EXPECT_EQ(ComponentA::livingCount, 1);
    };
    entryPoint.tick();
    EXPECT_EQ(reactions, 0);
    EXPECT_EQ(ComponentA::livingCount, 0);
    silence<10>();
}

TEST_F(Services, worldDestroyedInAReaction_doesNotDisturbTheOthers) {
    const int first = entryPoint.createWorld();
    const int second = entryPoint.createWorld();
    const int third = entryPoint.createWorld();
    std::vector<int> ran;
    for (const int id : {first, second, third}) {
        entryPoint.findValidWorld(id)->addTickReaction("g", "n", [&ran, id] { ran.push_back(id); });
    }
    entryPoint.findValidWorld(first)->addTickReaction("g", "destroy", [&] {
        entryPoint.destroyWorld(first);
        entryPoint.destroyWorld(second);
    });
    entryPoint.findValidWorld(first)->addTickReaction("g", "after", [&ran] { ran.push_back(0); });
    entryPoint.tick();
    EXPECT_THAT(ran, ElementsAre(first, 0, third));
    entryPoint.destroyWorld(third);
}

TEST_F(Services, worldMadeInAReaction_firstRunsInTheNextFrame) {
    const int worldId = entryPoint.createWorld();
    int made = 0;
    int runs = 0;
    entryPoint.findValidWorld(worldId)->addTickReaction("g", "n", [&] {
        if (made == 0) {
            made = entryPoint.createWorld();
            entryPoint.findValidWorld(made)->addTickReaction("g", "n", [&runs] { ++runs; });
        }
    });
    entryPoint.tick();
    EXPECT_EQ(runs, 0);
    entryPoint.tick();
    EXPECT_EQ(runs, 1);
    entryPoint.destroyWorld(made);
    entryPoint.destroyWorld(worldId);
}

TEST_F(Services, nestedFrame_keepsDestroyedWorldsUntilTheOuterFrameEnds) {
    RecordingService<11>& service = add<11>("a");
    const int worldId = entryPoint.createWorld();
    World& world = *entryPoint.findValidWorld(worldId);
    const GameObject object = world.manager().createGameObject();
    bool isNested = false;
    service.onTick = [&] {
        if (!isNested) {
            isNested = true;
            entryPoint.destroyWorld(worldId);
            entryPoint.tick();
            EXPECT_TRUE(world.manager().isGameObjectValid(object));
        }
    };
    entryPoint.tick();
    EXPECT_TRUE(isNested);
    silence<11>();
}

TEST_F(Services, getService_fromManyThreadsWhileOthersAreRegistered_isFound) {
    RecordingService<12>& service = add<12>("a");
    std::atomic<bool> isDone = false;
    std::atomic<int> misses = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            do {
                if (entryPoint.getService<RecordingService<12>>() != &service) {
                    ++misses;
                }
            } while (!isDone);
        });
    }
    add<13>("b");
    add<14>("c");
    add<15>("d");
    isDone = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(misses, 0);
    silence<12, 13, 14, 15>();
}

/// Writes to the standard error stream at process exit, so that a death test can check it.
template <int Number>
class LastWordsService final : public IService {
public:
    ~LastWordsService() override { std::fprintf(stderr, "destroy%d ", Number); }
    void init() override {}
    void fini() override { std::fprintf(stderr, "fini%d ", Number); }
    void tick() override {}
    void postTick() override {}
    void onWorldDestroyed(int /*worldId*/) override { std::fprintf(stderr, "world%d ", Number); }
};

TEST_F(Services, processExit_destroysWorldsThenEndsAllServicesThenDestroysThemLastFirst) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // Other tests of this process may have left threads running.
    EXPECT_EXIT(
        {
            entryPoint.registerService(typeid(LastWordsService<1>), std::make_unique<LastWordsService<1>>());
            entryPoint.registerService(typeid(LastWordsService<2>), std::make_unique<LastWordsService<2>>());
            const int worldId = entryPoint.createWorld();
            getGameObjectManager(worldId)->activateGameObject(getGameObjectManager(worldId)->createGameObject());
            std::exit(0);
        },
        testing::ExitedWithCode(0), "world1 world2 fini2 fini1 destroy2 destroy1 ");
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
