#include <tessel_streaming/requests/load_request.h>

#include <core/log.h>
#include <tessel_streaming/instances/instance_job.h>
#include <tessel_streaming/service/streaming_service.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

// The parts of the ratio that the phases of an instance take, roughly as long as they last.
constexpr double READING_PART = 0.4;
constexpr double CREATING_PART = 0.55;

/// The ratio of a request that has not succeeded.
constexpr double HIGHEST_PENDING_RATIO = 0.999;

[[nodiscard]] double fraction(double part, double total) noexcept {
    return total > 0 ? std::min(part / total, 1.0) : 0;
}

} // namespace

LoadRequest::LoadRequest(StreamingService* service, std::uint64_t number, LoadOrder order)
    : requestTime(std::chrono::steady_clock::now()), m_service(service), m_number(number), m_order(std::move(order)) {}

LoadRequest::~LoadRequest() {
    if (m_service) {
        m_service->forget(*this);
    }
}

const std::string& LoadRequest::path() const noexcept {
    static const std::string none;
    return m_order.paths.empty() ? none : m_order.paths.front();
}

void LoadRequest::dropHandle() noexcept {
    if (--m_handles == 0 && m_service) {
        try {
            m_service->onLastHandleDropped(SmartPointer<LoadRequest>::share(this));
        } catch (...) { // NOLINT(bugprone-empty-catch): without memory, the objects are removed with their world.
        }
    }
}

void LoadRequest::leaveService() {
    m_service = nullptr;
    job.reset();
    if (isPending()) {
        failures = {{FailureCode::SERVICE_ENDED, path(), 0, {path()}, "The streaming service has ended."}};
        outcome = LoadState::FAILED;
        publishOutcome();
    }
    stage = Stage::REPORTED;
}

LoadProgress LoadRequest::progress() const noexcept {
    LoadProgress& progress = m_progress;
    progress.phase = std::max(progress.phase, phase);
    if (m_service && stage != Stage::REPORTED) {
        m_service->addReading(*this, progress);
    }
    progress.objectsCreated = objectsCreated;
    if (job) {
        progress.objectsCreated += job->objectsCreated();
        progress.objectsTotal = std::max(progress.objectsTotal, job->objectsTotal() * m_order.instancesCount);
    }
    progress.objectsTotal = std::max(progress.objectsTotal, progress.objectsCreated);
    if (m_result.state == LoadState::SUCCEEDED) {
        progress.ratio = 1;
    } else if (isPending()) {
        progress.ratio = std::max(progress.ratio, std::min(ratio(progress), HIGHEST_PENDING_RATIO));
    }
    return progress;
}

double LoadRequest::ratio(const LoadProgress& progress) const noexcept {
    // Sizes are known late, so files count as much as bytes.
    const double reading =
        (fraction(static_cast<double>(progress.filesRead), static_cast<double>(progress.filesTotal)) +
         fraction(static_cast<double>(progress.bytesRead), static_cast<double>(progress.bytesTotal))) /
        2;
    if (m_order.kind == LoadOrder::Kind::DOCUMENTS) {
        return reading;
    }
    if (stage == Stage::READING) {
        return READING_PART * reading;
    }
    const double instance = job ? job->creationRatio() * CREATING_PART / (1 - READING_PART) : 0;
    const double creating = fraction(static_cast<double>(instances.size()) + instance,
                                     static_cast<double>(std::max<std::size_t>(m_order.instancesCount, 1)));
    return READING_PART + (1 - READING_PART) * creating;
}

std::uint64_t LoadRequest::addWaiter(CompletionFunction function, std::coroutine_handle<> coroutine) {
    m_waiters.push_back({++m_lastWaiterId, std::move(function), coroutine});
    return m_lastWaiterId;
}

void LoadRequest::removeWaiter(std::uint64_t id) noexcept {
    std::erase_if(m_waiters, [id](const Waiter& waiter) { return waiter.id == id; });
}

void LoadRequest::callWaiters() {
    const LoadHandle handle = makeHandle(SmartPointer<LoadRequest>::share(this));
    // Only those that wait now: a function that adds another one must not keep the frame from ending.
    const std::uint64_t lastId = m_lastWaiterId;
    while (!m_waiters.empty() && m_waiters.front().id <= lastId) {
        const Waiter waiter = std::move(m_waiters.front());
        m_waiters.erase(m_waiters.begin());
        try {
            if (waiter.coroutine) {
                waiter.coroutine.resume();
            } else {
                waiter.function(handle, m_result);
            }
        } catch (const std::exception& exception) {
            logException(exception.what());
        } catch (...) {
            logException("unknown exception");
        }
    }
}

void LoadRequest::logException(const char* problem) const noexcept {
    try {
        DebugMessageHelper(0, LogSeverity::ERROR, "", "tessel_streaming")
            .message("The completion function of a load of '%s' has thrown an exception: %s", path().c_str(), problem);
    } catch (...) { // NOLINT(bugprone-empty-catch): there is no memory for the message.
    }
}

void LoadRequest::publishOutcome() {
    m_result.state = outcome;
    m_result.failures = std::move(failures);
    m_result.skippedComponents = std::move(skippedComponents);
    if (outcome == LoadState::SUCCEEDED) {
        m_result.isPartial = !m_result.failures.empty();
        m_result.roots.reserve(instances.size());
        m_result.instanceUuids.reserve(instances.size());
        for (const CompleteInstance& instance : instances) {
            m_result.roots.push_back(instance.root);
            m_result.instanceUuids.push_back(instance.instanceUuid);
        }
    }
    (void)progress();
}

void LoadRequest::publishCancelled() {
    outcome = LoadState::CANCELLED;
    m_result.state = LoadState::CANCELLED;
    failures.clear();
}

} // namespace Kiln::Tessel::Streaming::detail
