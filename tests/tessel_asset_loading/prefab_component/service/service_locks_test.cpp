#include <support/assertion_capture.h>
#include <tessel_asset_loading/support/world_fixture.h>

#include <gmock/gmock.h>

namespace Kiln::TestSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* WORKER = "A worker takes the mutex of the loading queue";
constexpr const char* ORDER = "The mutex of the loading queue is taken after the cache's";

/// The assertions on the order of the service's two mutexes. A log sink represents code that queues a
/// load at a point where it must not: a missing file is reported under the cache's mutex.
class ServiceLocks : public WorldFixture {
protected:
    static void queueLoad() { service().loadGameObject(PrefabText().section(), -1, id(1), nullptr, nullptr); }

    /// Queues a load when a file is reported missing.
    class LoadingSink {
    public:
        std::size_t loads = 0;

    private:
        ScopedLogSink m_sink{[this](const LogMessage& message) {
            if (message.text == "Prefab not found missing.prefab") {
                ++loads;
                queueLoad();
            }
        }};
    };

    AssertionCapture assertions;
};

TEST_F(ServiceLocks, mainThread_queuesLoads) {
    queueLoad();
    tick();
    EXPECT_THAT(assertions.messages(), IsEmpty());
}

TEST_F(ServiceLocks, worker_mustNotQueueLoads) {
    HookComponent::onPreload = [](const HookComponent::Config&) { queueLoad(); };
    PrefabText prefab;
    prefab.component("HookComponent", prefab.root(id(1), "Root"));
    service().loadGameObject(prefab.section(), worldId, id(100), nullptr, nullptr);
    waitForWorkers();

    EXPECT_THAT(assertions.messages(), ElementsAre(WORKER));
    EXPECT_EQ(assertions.failures()[0].expression, "!BackgroundTaskThread::current()");
    EXPECT_EQ(assertions.failures()[0].file, "shared_libs/tessel_asset_loading/prefab_component/service/service_locks");
}

TEST_F(ServiceLocks, loadUnderTheCachesMutex_isOutOfOrder) {
    const LoadingSink sink;
    EXPECT_EQ(service().loadPrefabData("missing.prefab"), nullptr);

    EXPECT_EQ(sink.loads, 1U);
    EXPECT_THAT(assertions.messages(), ElementsAre(ORDER));
    EXPECT_EQ(assertions.failures()[0].expression, "cacheLocks == 0 || queueLocks > 0");
}

TEST_F(ServiceLocks, loadUnderBothMutexes_isInOrder) {
    PrefabBuilder outer;
    outer.root(id(1), "Outer").nested(id(2), "Point", id(1), "missing.prefab");
    cachePrefab("outer.prefab", outer);
    service().loadGameObject("outer.prefab", worldId, id(100), nullptr, nullptr);
    const LoadingSink sink;
    tick();

    EXPECT_EQ(sink.loads, 1U);
    EXPECT_THAT(assertions.messages(), IsEmpty());
}

TEST_F(ServiceLocks, loadAfterTheCachesMutex_isInOrder) {
    EXPECT_EQ(service().loadPrefabData("missing.prefab"), nullptr);
    queueLoad();
    EXPECT_THAT(assertions.messages(), IsEmpty());
}

TEST_F(ServiceLocks, tickThatIsOver_allowsNothing) {
    tick();
    const LoadingSink sink;
    EXPECT_EQ(service().loadPrefabData("missing.prefab"), nullptr);
    EXPECT_THAT(assertions.messages(), ElementsAre(ORDER));
}

} // namespace
} // namespace Kiln::TestSupport
