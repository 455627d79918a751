#pragma once

#include <core/smart_pointer.h>
#include <tessel_streaming/export.h>
#include <tessel_streaming/load_options.h>
#include <tessel_streaming/load_result.h>

#include <coroutine>
#include <cstdint>

namespace Kiln::Tessel::Streaming {

namespace detail {
class LoadRequest;
}

/// Refers to a request. Copies share it; a default-constructed handle refers to none.
///
/// A request lives as long as a handle refers to it, so a handle never reaches another one; when the service has ended,
/// a request that was pending reports SERVICE_ENDED. When the last handle is dropped, a pending request is cancelled,
/// and the documents that it holds are released at the end of the next frame, unless it was detached.
///
/// Threads: the main thread, like everything in this library.
class KILN_TESSEL_STREAMING_EXPORT LoadHandle {
public:
    LoadHandle() noexcept;
    /// @{
    /// Copies refer to the same request; a handle that was moved from refers to none.
    LoadHandle(const LoadHandle& other) noexcept;
    LoadHandle(LoadHandle&& other) noexcept;
    LoadHandle& operator=(const LoadHandle& other) noexcept;
    LoadHandle& operator=(LoadHandle&& other) noexcept;
    /// @}
    ~LoadHandle();

    /// Whether it refers to a request.
    [[nodiscard]] bool isValid() const noexcept { return static_cast<bool>(m_request); }

    /// For a handle without request, FAILED, and a result without reasons.
    [[nodiscard]] LoadState state() const noexcept;
    /// Whether the request is no longer pending; true for a handle without request.
    [[nodiscard]] bool isFinished() const noexcept { return state() != LoadState::PENDING; }
    /// What has been read and created so far.
    [[nodiscard]] LoadProgress progress() const noexcept;

    /// Valid as long as a handle refers to the request. Its lists are empty while the request is pending.
    [[nodiscard]] const LoadResult& result() const noexcept;
    /// Root of the first instance; the invalid object unless the request has succeeded.
    [[nodiscard]] GameObject root() const noexcept { return result().root(); }

    /// Number of the request, from 1 in the order of the requests; 0 without one.
    [[nodiscard]] std::uint64_t number() const noexcept;

    /// Ends a request that has not reported its success yet. When this returns, nothing of the request is active, and
    /// nothing of it will become active. If a component calls this while its own instance is being activated, that
    /// instance is deactivated as soon as the activation returns. Objects are removed within the budget of this frame
    /// and the next ones. The completion function is called with CANCELLED. Does nothing for a request that has
    /// reported.
    void cancel() const;

    /// Lets the request go on when the last handle is dropped.
    void detach() const noexcept;

    /// Counts immediately for everything that has not begun.
    void setPriority(int priority) const;
    /// The present priority.
    [[nodiscard]] int priority() const noexcept;

    /// Adds a completion function; if the request has reported already, it is called in the next frame. Ignored after
    /// the service has ended.
    void onCompleted(CompletionFunction function) const;

    /// Suspends a coroutine until the request reports its outcome, and resumes it in the place of a completion
    /// function. `const LoadResult& result = co_await handle;` The coroutine has to keep the handle. A coroutine that
    /// is destroyed while it waits is forgotten. One that still waits when the service ends is not resumed.
    class KILN_TESSEL_STREAMING_EXPORT Awaiter {
    public:
        /// Made by operator co_await.
        explicit Awaiter(SmartPointer<detail::LoadRequest> request) noexcept;
        Awaiter(const Awaiter&) = delete;
        Awaiter& operator=(const Awaiter&) = delete;
        ~Awaiter();

        /// @{
        /// Called by the coroutine that waits.
        [[nodiscard]] bool await_ready() const noexcept;
        void await_suspend(std::coroutine_handle<> coroutine);
        [[nodiscard]] const LoadResult& await_resume() const noexcept;
        /// @}

    private:
        SmartPointer<detail::LoadRequest> m_request;
        std::uint64_t m_waiterId = 0; ///< 0 while it does not wait.
    };
    /// See Awaiter.
    [[nodiscard]] Awaiter operator co_await() const noexcept;

    friend bool operator==(const LoadHandle& left, const LoadHandle& right) noexcept {
        return left.m_request == right.m_request;
    }

private:
    friend class detail::LoadRequest;

    explicit LoadHandle(SmartPointer<detail::LoadRequest> request) noexcept;

    SmartPointer<detail::LoadRequest> m_request; ///< May be null.
};

} // namespace Kiln::Tessel::Streaming
