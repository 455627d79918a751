#pragma once

#include <common/matrix.h>
#include <core/safe_reference_count.h>
#include <core/smart_pointer.h>
#include <tessel_streaming/documents/document_library.h>
#include <tessel_streaming/load_handle.h>
#include <tessel_streaming/load_options.h>
#include <tessel_streaming/load_result.h>

#include <chrono>
#include <coroutine>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

class InstanceJob;
class StreamingService;

/// What a request asks for. Immutable, apart from the priority.
struct LoadOrder {
    enum class Kind { INSTANCES, DOCUMENTS };

    Kind kind = Kind::INSTANCES;
    std::vector<std::string> paths; ///< One for instances.
    int worldId = -1;
    LoadOptions options;
    std::vector<Matrix> placements; ///< Of spawn(); otherwise empty.
    bool hasOwnPlacements = false;  ///< Whether spawn() made it.
    std::size_t instancesCount = 0; ///< 0 for documents.
};

/// An instance of a request that is complete.
struct CompleteInstance {
    GameObject root;
    Uuid instanceUuid;
    std::vector<GameObject> objects; ///< For its removal.
};

/// A request, shared by its handles and, while it is pending, by the service.
///
/// Threads: the main thread.
class LoadRequest final : public SafeReferenceCount {
public:
    LoadRequest(StreamingService* service, std::uint64_t number, LoadOrder order);
    ~LoadRequest() override;

    [[nodiscard]] static LoadHandle makeHandle(SmartPointer<LoadRequest> request) {
        return LoadHandle(std::move(request));
    }

    // Handles.
    void addHandle() noexcept { ++m_handles; }
    void dropHandle() noexcept;
    [[nodiscard]] bool hasHandle() const noexcept { return m_handles > 0; }
    void detach() noexcept { m_isDetached = true; }
    [[nodiscard]] bool isDetached() const noexcept { return m_isDetached; }

    [[nodiscard]] StreamingService* service() const noexcept { return m_service; }

    /// For a request that outlives the service. A pending one has then failed; nothing is called.
    void leaveService();

    [[nodiscard]] std::uint64_t number() const noexcept { return m_number; }
    [[nodiscard]] const LoadOrder& order() const noexcept { return m_order; }
    /// The first path; empty if there is none.
    [[nodiscard]] const std::string& path() const noexcept;
    [[nodiscard]] int priority() const noexcept { return m_order.options.priority; }
    void setPriority(int priority) noexcept { m_order.options.priority = priority; }

    /// What callers see. The state changes when the request reports, or is cancelled.
    [[nodiscard]] const LoadResult& result() const noexcept { return m_result; }
    [[nodiscard]] bool isPending() const noexcept { return m_result.state == LoadState::PENDING; }
    [[nodiscard]] LoadProgress progress() const noexcept;

    // Completion functions and coroutines.

    /// Returns an id for removeWaiter().
    std::uint64_t addWaiter(CompletionFunction function, std::coroutine_handle<> coroutine);
    void removeWaiter(std::uint64_t id) noexcept;
    [[nodiscard]] bool hasWaiter() const noexcept { return !m_waiters.empty(); }

    /// Calls the waiters, in the order in which they were added. An exception is logged.
    void callWaiters();

    // The rest belongs to the service.

    /// What the service still has to do for it.
    enum class Stage {
        READING,  ///< Its files.
        CREATING, ///< Its instances.
        FINISHED, ///< Nothing but to report `outcome`.
        REPORTED,
    };

    Stage stage = Stage::READING;
    LoadState outcome = LoadState::PENDING; ///< What it will report.
    LoadPhase phase = LoadPhase::WAITING;

    std::vector<DocumentLibrary::NeedId> needs;
    std::size_t pendingNeeds = 0;
    std::vector<LoadFailure> failures;
    std::vector<SkippedComponents> skippedComponents;

    std::vector<CompleteInstance> instances; ///< Until the request has reported.
    std::unique_ptr<InstanceJob> job;        ///< Of the instance that is being created.
    bool isStepping = false;                 ///< The job runs at this moment; somebody else has to dispose of it.
    std::size_t objectsCreated = 0;          ///< Of complete instances.
    std::chrono::steady_clock::duration createTime{0};
    std::chrono::steady_clock::time_point requestTime;

    /// Makes `outcome` and what belongs to it visible.
    void publishOutcome();

    /// Makes the state CANCELLED visible immediately.
    void publishCancelled();

private:
    struct Waiter {
        std::uint64_t id;
        CompletionFunction function;       ///< Empty for a coroutine.
        std::coroutine_handle<> coroutine; ///< Null for a function.
    };

    [[nodiscard]] double ratio(const LoadProgress& progress) const noexcept;
    void logException(const char* problem) const noexcept;

    StreamingService* m_service; ///< Null when it has ended.
    const std::uint64_t m_number;
    LoadOrder m_order;
    std::size_t m_handles = 0;
    bool m_isDetached = false;
    LoadResult m_result;
    mutable LoadProgress m_progress; ///< The last one that was given; its ratio never falls.
    std::vector<Waiter> m_waiters;
    std::uint64_t m_lastWaiterId = 0;
};

} // namespace Kiln::Tessel::Streaming::detail
