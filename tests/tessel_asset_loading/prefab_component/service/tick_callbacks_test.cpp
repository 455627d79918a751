#include <tessel_asset_loading/support/service_fixture.h>

#include <future>
#include <stdexcept>

namespace Kiln::TestSupport {
namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::GameObjectManager;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The callbacks of a load: their order, and which operations they may call.
class TickCallbacks : public ServiceFixture {
protected:
    TickCallbacks() { cachePrefab("lamp.prefab", PrefabBuilder().root(id(1), "Lamp").with<Tessel::PrefabComponent>()); }

    /// Queues a load and returns its callback, to which the test can add hooks; the service owns it.
    RecordingCallback& loadLamp(const std::string& name, const Uuid& uuid = Uuid::generate()) {
        const SmartPointer<RecordingCallback> callback = makeCallback(name);
        load("lamp.prefab", uuid, callback);
        return *callback;
    }

    /// Whether another thread can take the service's locks.
    [[nodiscard]] static bool areLocksFree() {
        auto done = std::async(std::launch::async, [] {
            PrefabText prefab;
            prefab.root(id(1), "From another thread");
            service().loadGameObject(prefab.section(), -1, id(1), nullptr, nullptr);
            service().clearCached("unknown");
        });
        return done.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    }
};

TEST_F(TickCallbacks, callbacks_areCalledInOrder) {
    loadLamp("lamp");
    tick();

    EXPECT_THAT(events(), ElementsAre("lamp: onPreactivate", "lamp: onObjectLoaded",
                                      "lamp: onObjectLoadedIntoHierarchy", "lamp: destroyed"));
}

TEST_F(TickCallbacks, allCallbacks_getRootAndItsManager) {
    RecordingCallback& callback = loadLamp("lamp");
    std::vector<GameObject> roots;
    const auto note = [this, &roots](GameObject root, GameObjectManager& itsManager) {
        roots.push_back(root);
        EXPECT_EQ(&itsManager, &manager());
    };
    callback.atPreactivate = callback.atLoaded = callback.atLoadedIntoHierarchy = note;
    tick();

    const GameObject lamp = findByName(manager(), "Lamp");
    EXPECT_THAT(roots, ElementsAre(lamp, lamp, lamp));
}

TEST_F(TickCallbacks, onPreactivate_seesCompleteButInactiveHierarchy) {
    cachePrefab("pair.prefab", PrefabBuilder()
                                   .root(id(1), "Root")
                                   .with<Tessel::PrefabComponent>()
                                   .child(id(2), "Child", id(1))
                                   .with<TagComponent>({"tag", ""}));
    const SmartPointer<RecordingCallback> callback = makeCallback("pair");
    bool wasActive = true;
    callback->atPreactivate = [&](GameObject root, GameObjectManager& itsManager) {
        wasActive = itsManager.isActive(root);
        EXPECT_EQ(configOf<TagComponent>("Child").tag, "tag");
        EXPECT_EQ(find<Tessel::PrefabComponent>(root)->instanceUuid(), id(77));
    };
    load("pair.prefab", id(77), callback);
    tick();

    EXPECT_FALSE(wasActive);
    EXPECT_TRUE(manager().isActive(findByName(manager(), "Child")));
}

TEST_F(TickCallbacks, allCreationsOfAFrame_precedeFirstOnObjectLoaded) {
    std::vector<std::size_t> objectsSeen;
    for (int i = 0; i < 3; ++i) {
        loadLamp(std::to_string(i)).atLoaded = [&objectsSeen](GameObject, GameObjectManager& itsManager) {
            objectsSeen.push_back(itsManager.gameObjectsCount());
        };
    }
    tick();

    EXPECT_THAT(objectsSeen, ElementsAre(3U, 3U, 3U));
}

TEST_F(TickCallbacks, postTick_callsInOrderOfCreationAndReleasesAllAtItsEnd) {
    loadLamp("a");
    loadLamp("b");
    service().tick();
    const std::size_t before = events().size();

    service().postTick();

    const std::vector<std::string> after(events().begin() + static_cast<std::ptrdiff_t>(before), events().end());
    EXPECT_THAT(after, ElementsAre("b: onObjectLoadedIntoHierarchy", "a: onObjectLoadedIntoHierarchy", "b: destroyed",
                                   "a: destroyed"));
}

TEST_F(TickCallbacks, callback_livesUntilPostTick) {
    RecordingCallback& callback = loadLamp("lamp");
    service().tick();
    EXPECT_EQ(callback.refCount(), 1U);

    service().postTick();

    EXPECT_EQ(events().back(), "lamp: destroyed");
}

TEST_F(TickCallbacks, postTickTwice_callsOnce) {
    loadLamp("lamp");
    service().tick();
    service().postTick();
    const std::size_t count = events().size();

    service().postTick();

    EXPECT_EQ(events().size(), count);
}

TEST_F(TickCallbacks, worldDestroyedBetweenTickAndPostTick_endsWithoutFurtherCalls) {
    const int otherId = EntryPoint::instance().createWorld();
    service().loadGameObject("lamp.prefab", otherId, id(1), makeCallback("lamp"), nullptr);
    service().tick();

    EntryPoint::instance().destroyWorld(otherId);
    service().postTick();

    EXPECT_THAT(events(), ElementsAre("lamp: onPreactivate", "lamp: onObjectLoaded", "lamp: destroyed"));
}

TEST_F(TickCallbacks, onPreactivateThatRemovesRoot_loadEndsAndLaterCallbacksSeeADeadRoot) {
    RecordingCallback& callback = loadLamp("lamp");
    callback.atPreactivate = [](GameObject root, GameObjectManager& itsManager) { itsManager.removeGameObject(root); };
    callback.atLoaded = [](GameObject root, GameObjectManager&) { EXPECT_FALSE(Tessel::isValid(root)); };
    tick();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(events(), ElementsAre("lamp: onPreactivate", "lamp: onObjectLoaded",
                                      "lamp: onObjectLoadedIntoHierarchy", "lamp: destroyed"));
}

TEST_F(TickCallbacks, onPreactivateThatDestroysWorld_endsTheLoad) {
    const int otherId = EntryPoint::instance().createWorld();
    const SmartPointer<RecordingCallback> callback = makeCallback("lamp");
    callback->atPreactivate = [otherId](auto, auto&) { EntryPoint::instance().destroyWorld(otherId); };
    service().loadGameObject("lamp.prefab", otherId, id(1), callback, nullptr);
    tick();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(events(), ElementsAre("lamp: onPreactivate"));
}

TEST_F(TickCallbacks, onObjectLoadedThatDestroysWorld_silencesTheOthersOfThatWorld) {
    const int otherId = EntryPoint::instance().createWorld();
    for (const char* const name : {"a", "b"}) {
        const SmartPointer<RecordingCallback> callback = makeCallback(name);
        callback->atLoaded = [otherId](auto, auto&) { EntryPoint::instance().destroyWorld(otherId); };
        service().loadGameObject("lamp.prefab", otherId, id(1), callback, nullptr);
    }
    tick();

    EXPECT_THAT(events(), ElementsAre("b: onPreactivate", "a: onPreactivate", "b: onObjectLoaded", "b: destroyed",
                                      "a: destroyed"));
}

TEST_F(TickCallbacks, everyCallbackMayQueueLoads_whichAreServedInTheNextFrame) {
    RecordingCallback& callback = loadLamp("lamp");
    const auto loadMore = [this](auto, auto&) {
        for (int i = 0; i < 50; ++i) { // Enough to make the queue reallocate during the walk.
            load("lamp.prefab", Uuid::generate());
        }
    };
    callback.atPreactivate = callback.atLoaded = callback.atLoadedIntoHierarchy = loadMore;

    tick();
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
    EXPECT_EQ(queued().size(), 150U);
    tick();

    EXPECT_EQ(manager().gameObjectsCount(), 151U);
    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(TickCallbacks, loadQueuedByOnPreactivate_takesThePlaceAndWaitsForTheNextFrame) {
    WorkerGate gate;
    load("none.prefab", id(1));
    loadLamp("lamp", id(2)).atPreactivate = [this](auto, auto&) { load("lamp.prefab", id(4)); };
    load("none.prefab", id(3));

    tick();

    EXPECT_THAT(queued(), ElementsAre(id(1), id(4), id(3)));
}

TEST_F(TickCallbacks, everyCallbackMayClearTheCache) {
    RecordingCallback& callback = loadLamp("lamp");
    loadLamp("other");
    callback.atPreactivate = callback.atLoaded =
        callback.atLoadedIntoHierarchy = [](auto, auto&) { service().clearCache(); };
    tick();

    EXPECT_EQ(manager().gameObjectsCount(), 2U);
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(events().size(), 8U);
}

TEST_F(TickCallbacks, callbackMayLoadSynchronously) {
    writeRoot("other.prefab", "Other");
    const Tessel::GameObjectPrefab* other = nullptr;
    loadLamp("lamp").atPreactivate = [&other](auto, auto&) { other = service().loadPrefabData("other.prefab"); };
    tick();

    EXPECT_NE(other, nullptr);
}

TEST_F(TickCallbacks, exceptionOfOnPreactivate_escapesAndLoaderStays) {
    bool throws = true;
    loadLamp("lamp", id(5)).atPreactivate = [&throws](auto, auto&) {
        if (throws) {
            throw std::runtime_error("no");
        }
    };

    EXPECT_THROW(tick(), std::runtime_error);
    EXPECT_THAT(queued(), ElementsAre(id(5)));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_TRUE(areLocksFree());
    EXPECT_THAT(currentTrail(), IsEmpty());

    throws = false;
    finishLoads();
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
}

TEST_F(TickCallbacks, exceptionOfOnObjectLoaded_escapesAndLoaderIsDone) {
    bool throws = true;
    loadLamp("lamp").atLoaded = [&throws](auto, auto&) {
        if (std::exchange(throws, false)) {
            throw std::runtime_error("no");
        }
    };

    EXPECT_THROW(tick(), std::runtime_error);
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_TRUE(areLocksFree());
    EXPECT_THAT(currentTrail(), IsEmpty());

    // The frame did not reach its postTick, so the next one finishes the load.
    finishLoads();
    EXPECT_THAT(events(), ElementsAre("lamp: onPreactivate", "lamp: onObjectLoaded", "lamp: onObjectLoaded",
                                      "lamp: onObjectLoadedIntoHierarchy", "lamp: destroyed"));
}

TEST_F(TickCallbacks, exceptionOfOnObjectLoadedIntoHierarchy_escapesPostTick) {
    bool throws = true;
    loadLamp("lamp").atLoadedIntoHierarchy = [&throws](auto, auto&) {
        if (std::exchange(throws, false)) {
            throw std::runtime_error("no");
        }
    };

    EXPECT_THROW(tick(), std::runtime_error);
    EXPECT_TRUE(areLocksFree());
    EXPECT_THAT(currentTrail(), IsEmpty());
    waitForWorkers();
    service().postTick();

    EXPECT_EQ(events().back(), "lamp: destroyed");
}

TEST_F(TickCallbacks, callbacks_seeTheOperationOnTheStackTracker) {
    std::vector<std::vector<std::string>> trails;
    RecordingCallback& callback = loadLamp("lamp");
    callback.atPreactivate = callback.atLoaded =
        callback.atLoadedIntoHierarchy = [&trails](auto, auto&) { trails.push_back(currentTrail()); };
    tick();

    EXPECT_THAT(trails, ElementsAre(ElementsAre(serviceEntry("tick")), ElementsAre(serviceEntry("tick")),
                                    ElementsAre(serviceEntry("postTick"))));
}

TEST_F(TickCallbacks, framesWithinCallbacks_serveNothingAndRepeatNoCall) {
    RecordingCallback& callback = loadLamp("first");
    loadLamp("second");
    callback.atPreactivate = callback.atLoaded = callback.atLoadedIntoHierarchy = [](auto, auto&) { tick(); };

    tick();

    EXPECT_THAT(events(), ElementsAre("second: onPreactivate", "first: onPreactivate", "second: onObjectLoaded",
                                      "first: onObjectLoaded", "second: onObjectLoadedIntoHierarchy",
                                      "first: onObjectLoadedIntoHierarchy", "second: destroyed", "first: destroyed"));
    EXPECT_EQ(manager().gameObjectsCount(), 2U);
    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(TickCallbacks, framesAfterAnException_serveLoadsAgain) {
    loadLamp("lamp").atLoaded = [](auto, auto&) { throw std::runtime_error("no"); };
    EXPECT_THROW(tick(), std::runtime_error);
    service().postTick();
    load("lamp.prefab");

    tick();

    EXPECT_EQ(manager().gameObjectsCount(), 2U);
    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(TickCallbacks, baseOnPreactivate_agrees) {
    class Minimal final : public IObjectLoadedCallback {
        void onObjectLoaded(GameObject, GameObjectManager&) override {}
        void onObjectLoadedIntoHierarchy(GameObject, GameObjectManager&) override {}
        void releaseCallback() override {}
    };
    load("lamp.prefab", id(1), makeSmart<Minimal>());
    tick();

    EXPECT_TRUE(manager().isActive(findByName(manager(), "Lamp")));
}

TEST_F(TickCallbacks, sameCallbackForTwoLoads_isCalledForBoth) {
    const SmartPointer<RecordingCallback> callback = makeCallback("both");
    load("lamp.prefab", id(1), callback);
    load("lamp.prefab", id(2), callback);
    tick();

    EXPECT_EQ(events().size(), 6U);
    EXPECT_EQ(callback->refCount(), 1U);
}

} // namespace
} // namespace Kiln::TestSupport
