#include <tessel_streaming/support/streaming_fixture.h>

#include <gmock/gmock.h>

#include <coroutine>
#include <exception>
#include <utility>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A coroutine that starts at once and that its owner destroys.
class OwnedCoroutine : NonCopyable {
public:
    struct promise_type {
        OwnedCoroutine get_return_object() {
            return OwnedCoroutine(std::coroutine_handle<promise_type>::from_promise(*this));
        }
        std::suspend_never initial_suspend() noexcept { return {}; }
        std::suspend_always final_suspend() noexcept { return {}; }
        void return_void() {}
        void unhandled_exception() { std::terminate(); }
    };

    explicit OwnedCoroutine(std::coroutine_handle<promise_type> handle) : m_handle(handle) {}
    OwnedCoroutine(OwnedCoroutine&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    ~OwnedCoroutine() { destroy(); }

    void destroy() {
        if (m_handle) {
            std::exchange(m_handle, nullptr).destroy();
        }
    }
    [[nodiscard]] bool isDone() const { return m_handle.done(); }

private:
    std::coroutine_handle<promise_type> m_handle;
};

class CoroutineLoad : public StreamingFixture {
protected:
    OwnedCoroutine await(const LoadHandle handle, std::string name) {
        events.push_back(name + " waits");
        const LoadResult& result = co_await handle;
        events.push_back(name + (result.state == LoadState::SUCCEEDED ? " succeeded" : " did not succeed"));
    }

    OwnedCoroutine loadTwo() {
        const LoadHandle first = load("root.prefab", worldId);
        const LoadResult& firstResult = co_await first;
        LoadOptions options;
        options.parent = firstResult.root();
        const LoadHandle second = load("root.prefab", worldId, options);
        const LoadResult& secondResult = co_await second;
        EXPECT_EQ(manager().getParent(secondResult.root()), firstResult.root());
    }
};

TEST_F(CoroutineLoad, isResumedInTheOrderOfCompletionFunctions) {
    writeRoot("root.prefab");
    const LoadHandle handle = load("root.prefab", worldId, {}, noting("function"));
    const OwnedCoroutine coroutine = await(handle, "coroutine");
    finish(handle);
    EXPECT_THAT(events, ElementsAre("coroutine waits", "function: SUCCEEDED", "coroutine succeeded"));
    EXPECT_TRUE(coroutine.isDone());
}

TEST_F(CoroutineLoad, ofAFinishedRequest_doesNotSuspend) {
    const LoadHandle handle = loaded("none.prefab");
    const OwnedCoroutine coroutine = await(handle, "coroutine");
    EXPECT_THAT(events, ElementsAre("coroutine waits", "coroutine did not succeed"));
}

TEST_F(CoroutineLoad, ofACancelledRequest_isResumedByTheNextFrame) {
    writeRoot("root.prefab");
    const LoadHandle handle = load("root.prefab", worldId);
    const OwnedCoroutine coroutine = await(handle, "coroutine");
    handle.cancel();
    EXPECT_THAT(events, ElementsAre("coroutine waits"));
    frame();
    EXPECT_THAT(events, ElementsAre("coroutine waits", "coroutine did not succeed"));
}

TEST_F(CoroutineLoad, thatIsDestroyedWhileItWaits_isForgotten) {
    writeRoot("root.prefab");
    const LoadHandle handle = load("root.prefab", worldId);
    OwnedCoroutine coroutine = await(handle, "coroutine");
    coroutine.destroy();
    finish(handle);
    EXPECT_THAT(events, ElementsAre("coroutine waits"));
}

TEST_F(CoroutineLoad, canRequestAgain) {
    writeRoot("root.prefab");
    const OwnedCoroutine coroutine = loadTwo();
    for (int i = 0; i < 100 && !coroutine.isDone(); ++i) {
        frame();
    }
    EXPECT_TRUE(coroutine.isDone());
    EXPECT_EQ(objectsCount(), 2U);
}

TEST_F(CoroutineLoad, ofAHandleWithoutRequest_doesNotSuspend) {
    const OwnedCoroutine coroutine = await(LoadHandle(), "coroutine");
    EXPECT_THAT(events, ElementsAre("coroutine waits", "coroutine did not succeed"));
}

} // namespace
} // namespace Kiln::TestSupport
