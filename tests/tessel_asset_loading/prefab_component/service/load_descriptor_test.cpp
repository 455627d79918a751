#include <tessel_asset_loading/support/service_fixture.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// PrefabService::loadDescriptor. A request for a path is never answered: the task fills the cache entry of the path
/// and not the request. For an empty path the task does fill the request, with the result of reading a null section.
class LoadDescriptor : public ServiceFixture {
protected:
    void request(const std::string& path, const std::string& name = "request") {
        service().loadDescriptor(
            path, [this, name](GameObjectPrefab* prefab) { answers.push_back(name + (prefab ? "" : ": null")); },
            false);
    }

    std::vector<std::string> answers;
};

TEST_F(LoadDescriptor, uncachedPath_fillsCacheAndStaysQueued) {
    writeRoot("lamp.prefab", "Lamp");

    request("lamp.prefab");
    finishLoads();
    tick();

    EXPECT_EQ(requestsCount(), 1U);
    EXPECT_THAT(answers, IsEmpty());
    writeRoot("lamp.prefab", "Changed");
    EXPECT_EQ(service().loadPrefabData("lamp.prefab")->getGameObject(0)->name(), "Lamp");
}

TEST_F(LoadDescriptor, cachedPath_startsNoTaskAndStaysQueued) {
    cachePrefab("lamp.prefab", PrefabBuilder().root(id(1)));
    WorkerGate gate;

    request("lamp.prefab");

    EXPECT_EQ(WorkerGate::pendingTasks(), 0U);
    tick();
    EXPECT_EQ(requestsCount(), 1U);
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(LoadDescriptor, pathThatFailedBefore_startsNoTask) {
    ASSERT_EQ(service().loadPrefabData("none.prefab"), nullptr);
    WorkerGate gate;

    request("none.prefab");

    EXPECT_EQ(WorkerGate::pendingTasks(), 0U);
    EXPECT_EQ(requestsCount(), 1U);
}

TEST_F(LoadDescriptor, pathOfPendingLoad_startsNoTask) {
    WorkerGate gate;
    load("none.prefab");

    request("none.prefab");

    EXPECT_EQ(WorkerGate::pendingTasks(), 1U);
}

TEST_F(LoadDescriptor, uncachedPathTwice_startsTwoTasksAndParsesOnce) {
    writeRoot("lamp.prefab", "Lamp");
    GameObjectPrefab* parsedFirst = nullptr;
    {
        WorkerGate gate;
        request("lamp.prefab");
        service().loadDescriptor(
            "lamp.prefab", [](GameObjectPrefab*) {}, false);
        EXPECT_EQ(WorkerGate::pendingTasks(), 2U);
        EXPECT_EQ(requestsCount(), 2U);
        parsedFirst = service().loadPrefabData("lamp.prefab");
    }

    ASSERT_NE(parsedFirst, nullptr);
    EXPECT_EQ(service().loadPrefabData("lamp.prefab"), parsedFirst);
}

TEST_F(LoadDescriptor, missingFileTwice_isParsedByBothTasks) {
    WorkerGate gate;
    request("none.prefab");
    request("none.prefab");
    gate.open();
    waitForWorkers();

    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found none.prefab", "5: Prefab not found none.prefab"));
}

TEST_F(LoadDescriptor, callback_isCopiedWithinTheOperation) {
    struct Copied {
        explicit Copied(std::vector<std::string>& seen) : trail(&seen) {}
        Copied(const Copied& other) : trail(other.trail) { *trail = currentTrail(); }
        Copied& operator=(const Copied&) = delete;
        void operator()(GameObjectPrefab* /*prefab*/) const {}
        std::vector<std::string>* trail;
    };
    std::vector<std::string> trail;
    const std::function<void(GameObjectPrefab*)> callback{Copied(trail)};

    service().loadDescriptor("none.prefab", callback, false);

    EXPECT_THAT(trail, ElementsAre(serviceEntry("loadDescriptor")));
    EXPECT_THAT(currentTrail(), IsEmpty());
}

TEST_F(LoadDescriptor, emptyPath_isAnsweredWithEmptyPrefab) {
    bool isEmpty = false;
    service().loadDescriptor(
        "", [&isEmpty](GameObjectPrefab* prefab) { isEmpty = prefab && prefab->isEmpty(); }, false);
    EXPECT_EQ(requestsCount(), 1U);

    finishLoads();

    EXPECT_TRUE(isEmpty);
    EXPECT_EQ(requestsCount(), 0U);
}

TEST_F(LoadDescriptor, answeredRequests_areAnsweredFromLastToFirst) {
    request("", "first");
    request("", "second");
    request("none.prefab", "never");
    request("", "third");

    finishLoads();

    EXPECT_THAT(answers, ElementsAre("third", "second", "first"));
    EXPECT_EQ(requestsCount(), 1U);
}

TEST_F(LoadDescriptor, answeredRequest_isAnsweredOnce) {
    request("");
    finishLoads();
    tick();

    EXPECT_THAT(answers, ElementsAre("request"));
}

TEST_F(LoadDescriptor, callbackThatRequestsMore_isAnsweredAndTheNewOneInLaterFrame) {
    service().loadDescriptor(
        "",
        [this](GameObjectPrefab*) {
            for (int i = 0; i < 100; ++i) {
                request("", "more");
            }
        },
        false);

    finishLoads();
    EXPECT_EQ(requestsCount(), 100U);
    finishLoads();

    EXPECT_EQ(requestsCount(), 0U);
    EXPECT_EQ(answers.size(), 100U);
}

TEST_F(LoadDescriptor, answers_followCreationAndPrecedeOnObjectLoaded) {
    const SmartPointer<RecordingCallback> callback = makeCallback("lamp");
    callback->atPreactivate = [this](auto, auto&) { answers.push_back("onPreactivate"); };
    callback->atLoaded = [this](auto, auto&) { answers.push_back("onObjectLoaded"); };
    writeRoot("lamp.prefab", "Lamp");
    load("lamp.prefab", id(100), callback);
    request("", "answer");

    finishLoads();

    EXPECT_THAT(answers, ElementsAre("onPreactivate", "answer", "onObjectLoaded"));
}

TEST_F(LoadDescriptor, callbackThatThrows_isCalledAgainInTheNextTick) {
    int calls = 0;
    service().loadDescriptor(
        "",
        [&calls](GameObjectPrefab*) {
            if (++calls == 1) {
                throw std::runtime_error("not yet");
            }
        },
        false);
    waitForWorkers();

    EXPECT_THROW(service().tick(), std::runtime_error);
    EXPECT_EQ(requestsCount(), 1U);
    EXPECT_THAT(currentTrail(), IsEmpty());
    service().tick();

    EXPECT_EQ(calls, 2);
    EXPECT_EQ(requestsCount(), 0U);
}

// In a separate process, because the request stays and makes every later tick throw.
TEST_F(LoadDescriptor, emptyCallback_makesTickThrowBadFunctionCall) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            service().loadDescriptor("", nullptr, false);
            waitForWorkers();
            int thrown = 0;
            for (int i = 0; i < 2; ++i) {
                try {
                    service().tick();
                } catch (const std::bad_function_call&) {
                    ++thrown;
                }
            }
            std::_Exit(thrown == 2 && requestsCount() == 1 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace Kiln::TestSupport
