#include <tessel_streaming/load_handle.h>

#include <tessel_streaming/requests/load_request.h>
#include <tessel_streaming/service/streaming_service.h>

#include <utility>

namespace Kiln::Tessel::Streaming {

namespace {

/// What a handle without request reports.
const LoadResult& noResult() noexcept {
    static const LoadResult result = [] {
        LoadResult failed;
        failed.state = LoadState::FAILED;
        return failed;
    }();
    return result;
}

} // namespace

LoadHandle::LoadHandle() noexcept = default;

LoadHandle::LoadHandle(SmartPointer<detail::LoadRequest> request) noexcept : m_request(std::move(request)) {
    if (m_request) {
        m_request->addHandle();
    }
}

LoadHandle::LoadHandle(const LoadHandle& other) noexcept : LoadHandle(other.m_request) {}

LoadHandle::LoadHandle(LoadHandle&& other) noexcept : m_request(std::move(other.m_request)) {
    other.m_request = nullptr;
}

LoadHandle& LoadHandle::operator=(const LoadHandle& other) noexcept {
    LoadHandle copy(other);
    std::swap(m_request, copy.m_request);
    return *this;
}

LoadHandle& LoadHandle::operator=(LoadHandle&& other) noexcept {
    LoadHandle moved(std::move(other));
    std::swap(m_request, moved.m_request);
    return *this;
}

LoadHandle::~LoadHandle() {
    if (m_request) {
        m_request->dropHandle();
    }
}

LoadState LoadHandle::state() const noexcept {
    return result().state;
}

LoadProgress LoadHandle::progress() const noexcept {
    return m_request ? m_request->progress() : LoadProgress();
}

const LoadResult& LoadHandle::result() const noexcept {
    return m_request ? m_request->result() : noResult();
}

std::uint64_t LoadHandle::number() const noexcept {
    return m_request ? m_request->number() : 0;
}

void LoadHandle::cancel() const {
    if (m_request && m_request->service()) {
        m_request->service()->cancel(m_request);
    }
}

void LoadHandle::detach() const noexcept {
    if (m_request) {
        m_request->detach();
    }
}

void LoadHandle::setPriority(int priority) const {
    if (m_request && m_request->service()) {
        m_request->service()->setPriority(m_request, priority);
    }
}

int LoadHandle::priority() const noexcept {
    return m_request ? m_request->priority() : DEFAULT_PRIORITY;
}

void LoadHandle::onCompleted(CompletionFunction function) const {
    if (m_request && m_request->service() && function) {
        m_request->service()->addWaiter(m_request, std::move(function), nullptr);
    }
}

LoadHandle::Awaiter LoadHandle::operator co_await() const noexcept {
    return Awaiter(m_request);
}

LoadHandle::Awaiter::Awaiter(SmartPointer<detail::LoadRequest> request) noexcept : m_request(std::move(request)) {}

LoadHandle::Awaiter::~Awaiter() {
    if (m_waiterId != 0) {
        m_request->removeWaiter(m_waiterId);
    }
}

bool LoadHandle::Awaiter::await_ready() const noexcept {
    return !m_request || !m_request->service() || m_request->stage == detail::LoadRequest::Stage::REPORTED;
}

void LoadHandle::Awaiter::await_suspend(std::coroutine_handle<> coroutine) {
    m_waiterId = m_request->service()->addWaiter(m_request, {}, coroutine);
}

const LoadResult& LoadHandle::Awaiter::await_resume() const noexcept {
    return m_request ? m_request->result() : noResult();
}

} // namespace Kiln::Tessel::Streaming
