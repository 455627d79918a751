#pragma once

#include <core/non_copyable.h>
#include <object_framework/game_object.h>
#include <tessel_streaming/load_handle.h>

#include <coroutine>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::StreamingStress {

/// Ends the process with exit status 1 if the condition does not hold; says in which run.
void require(bool condition, const char* what);

/// What require() prints first.
void setRunName(const std::string& name);

/// A coroutine that waits for a request. Destroying it ends the wait.
class Waiter {
public:
    struct promise_type {
        Waiter get_return_object() { return Waiter(std::coroutine_handle<promise_type>::from_promise(*this)); }
        std::suspend_never initial_suspend() noexcept { return {}; }
        std::suspend_always final_suspend() noexcept { return {}; }
        void return_void() noexcept {}
        void unhandled_exception() { require(false, "a coroutine ends without an exception"); }
    };

    explicit Waiter(std::coroutine_handle<promise_type> coroutine) noexcept : m_coroutine(coroutine) {}
    Waiter(Waiter&& other) noexcept : m_coroutine(std::exchange(other.m_coroutine, nullptr)) {}
    Waiter& operator=(Waiter&&) = delete;
    ~Waiter() {
        if (m_coroutine) {
            m_coroutine.destroy();
        }
    }

    [[nodiscard]] bool isDone() const noexcept { return m_coroutine.done(); }

private:
    std::coroutine_handle<promise_type> m_coroutine;
};

/// What a stress knows of a request, and the checks of what the library says about it.
class TrackedRequest : NonCopyable {
public:
    enum class Kind { LOAD, SPAWN, PRELOAD };

    struct Description {
        Kind kind = Kind::LOAD;
        int worldId = -1;
        std::size_t instances = 0;
        int priority = 0;
        bool isPartialAllowed = false;
        bool isInOrder = true; ///< LoadOptions::reportsInOrder.
    };

    TrackedRequest(std::uint64_t id, const Description& description);

    [[nodiscard]] std::uint64_t id() const noexcept { return m_id; } ///< In the components of its instances.
    [[nodiscard]] int worldId() const noexcept { return m_description.worldId; }
    [[nodiscard]] std::uint64_t number() const noexcept { return m_number; } ///< By the library.
    [[nodiscard]] int priority() const noexcept { return m_description.priority; }
    [[nodiscard]] bool isInOrder() const noexcept { return m_description.isInOrder; }
    [[nodiscard]] bool hasReported() const noexcept { return m_reported != Tessel::Streaming::LoadState::PENDING; }
    [[nodiscard]] Tessel::Streaming::LoadState reported() const noexcept { return m_reported; }
    [[nodiscard]] const std::vector<Tessel::GameObject>& roots() const noexcept { return m_roots; }

    /// Whether objects of it may be active now.
    [[nodiscard]] bool mayBeVisible() const noexcept {
        return !m_isCancelled && m_reported != Tessel::Streaming::LoadState::FAILED &&
               m_reported != Tessel::Streaming::LoadState::CANCELLED;
    }

    void start(const Tessel::Streaming::LoadHandle& handle);

    /// A handle of it; one without a request if it has none.
    [[nodiscard]] Tessel::Streaming::LoadHandle handle() const;
    [[nodiscard]] bool hasHandle() const noexcept { return !m_handles.empty(); }
    void copyHandle();

    /// Drops a handle or a coroutine; cancels the request if it was the last one.
    void dropOne();
    void cancel();
    void detach();
    void setPriority(int priority);

    /// Makes a number for a further completion function.
    [[nodiscard]] std::size_t addFunction();

    /// To be called by the completion function of that number.
    void onCompleted(std::size_t function, const Tessel::Streaming::LoadHandle& handle,
                     const Tessel::Streaming::LoadResult& result);

    /// Keeps a coroutine that has a handle.
    void addWaiter(Waiter waiter);
    void onResumed(const Tessel::Streaming::LoadResult& result);

    /// As require(), about this request.
    void expect(bool condition, const char* what) const;

    /// Checks its state and progress, compared with the last time.
    void check();

    /// Checks that it has ended and that each completion function was called exactly once.
    void checkEnded() const;

private:
    [[nodiscard]] std::string name() const;

    void checkResult(const Tessel::Streaming::LoadResult& result) const;
    void checkProgress(const Tessel::Streaming::LoadProgress& progress, Tessel::Streaming::LoadState state);

    std::uint64_t m_id;
    Description m_description;

    std::uint64_t m_number = 0;
    std::vector<Tessel::Streaming::LoadHandle> m_handles;
    std::vector<Waiter> m_waiters;
    bool m_isDetached = false;
    bool m_isCancelled = false; ///< While it was pending, by cancel() or by dropping the last handle.
    Tessel::Streaming::LoadState m_reported = Tessel::Streaming::LoadState::PENDING;
    Tessel::Streaming::LoadProgress m_last;
    std::vector<unsigned> m_calls{0}; ///< By completion function.
    std::vector<Tessel::GameObject> m_roots;
};

} // namespace Kiln::StreamingStress
