#include "tracked_request.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace Kiln::StreamingStress {

using Tessel::Streaming::FailureCode;
using Tessel::Streaming::LoadFailure;
using Tessel::Streaming::LoadHandle;
using Tessel::Streaming::LoadPhase;
using Tessel::Streaming::LoadProgress;
using Tessel::Streaming::LoadResult;
using Tessel::Streaming::LoadState;

namespace {

std::string s_runName;

[[nodiscard]] const char* stateName(LoadState state) {
    switch (state) {
    case LoadState::PENDING:
        return "pending";
    case LoadState::SUCCEEDED:
        return "succeeded";
    case LoadState::FAILED:
        return "failed";
    case LoadState::CANCELLED:
        return "cancelled";
    }
    return "?";
}

[[nodiscard]] int clampedPriority(int priority) {
    return std::clamp(priority, Tessel::Streaming::MIN_PRIORITY, Tessel::Streaming::MAX_PRIORITY);
}

} // namespace

void setRunName(const std::string& name) {
    s_runName = name;
}

void require(bool condition, const char* what) {
    if (!condition) [[unlikely]] {
        std::fprintf(stderr, "FAILED: %s: not true that %s\n", s_runName.c_str(), what);
        std::_Exit(1);
    }
}

void TrackedRequest::expect(bool condition, const char* what) const {
    if (!condition) [[unlikely]] {
        require(false, (name() + " " + what).c_str());
    }
}

std::string TrackedRequest::name() const {
    const char* const kind = m_description.kind == Kind::LOAD    ? "load "
                             : m_description.kind == Kind::SPAWN ? "spawn "
                                                                 : "preload ";
    return kind + std::to_string(m_number) + " (reported: " + stateName(m_reported) +
           (m_isCancelled ? ", was cancelled" : "") + ", ratio: " + std::to_string(m_last.ratio) + ")";
}

TrackedRequest::TrackedRequest(std::uint64_t id, const Description& description)
    : m_id(id), m_description(description) {
    m_description.priority = clampedPriority(description.priority);
}

void TrackedRequest::start(const LoadHandle& handle) {
    require(handle.isValid(), "a new handle refers to a request");
    m_number = handle.number();
    expect(m_number > 0, "has a number");
    expect(!hasReported(), "reports nothing inside of the call that made it");
    m_handles.push_back(handle);
    check();
}

LoadHandle TrackedRequest::handle() const {
    return m_handles.empty() ? LoadHandle() : m_handles.front();
}

void TrackedRequest::copyHandle() {
    if (hasHandle()) {
        m_handles.push_back(m_handles.front());
        require(m_handles.back() == m_handles.front(), "a copy equals the handle");
    }
}

void TrackedRequest::dropOne() {
    // A coroutine that has been resumed is destroyed with its request, as it may be running.
    const bool hasWaiting = !m_waiters.empty() && !hasReported();
    const std::size_t owners = m_handles.size() + m_waiters.size();
    if (owners == 0 || (m_handles.empty() && !hasWaiting)) {
        return;
    }
    m_isCancelled = m_isCancelled || (owners == 1 && !hasReported() && !m_isDetached);
    if (!m_handles.empty()) {
        const LoadHandle dropped = std::move(m_handles.back());
        m_handles.pop_back();
        require(!m_handles.empty() || dropped.isValid(), "a moved handle is valid");
    } else {
        const Waiter dropped = std::move(m_waiters.back());
        m_waiters.pop_back();
    }
}

void TrackedRequest::cancel() {
    if (!hasHandle()) {
        return;
    }
    const bool wasPending = m_handles.front().state() == LoadState::PENDING;
    m_isCancelled = m_isCancelled || wasPending;
    handle().cancel();
    check();
}

void TrackedRequest::detach() {
    if (hasHandle()) {
        m_handles.front().detach();
        m_isDetached = true;
    }
}

void TrackedRequest::setPriority(int priority) {
    if (hasHandle()) {
        handle().setPriority(priority);
        m_description.priority = clampedPriority(priority);
        expect(handle().priority() == m_description.priority, "has the priority that was set");
    }
}

std::size_t TrackedRequest::addFunction() {
    m_calls.push_back(0);
    return m_calls.size() - 1;
}

void TrackedRequest::onCompleted(std::size_t function, const LoadHandle& handle, const LoadResult& result) {
    expect(m_calls[function] == 0, "calls a completion function once");
    ++m_calls[function];
    expect(handle.isValid() && handle.number() == m_number, "passes its handle");
    expect(handle.state() == result.state, "passes its state");
    checkProgress(handle.progress(), result.state);
    if (!hasReported()) {
        m_reported = result.state;
        m_roots = result.roots;
    }
    expect(m_reported == result.state, "always reports the same state");
    checkResult(result);
}

void TrackedRequest::addWaiter(Waiter waiter) {
    m_waiters.push_back(std::move(waiter));
}

void TrackedRequest::onResumed(const LoadResult& result) {
    if (!hasReported()) { // A coroutine is resumed in the place of a completion function, in their order.
        m_reported = result.state;
        m_roots = result.roots;
    }
    expect(m_reported == result.state, "always reports the same state");
    checkResult(result);
}

void TrackedRequest::checkResult(const LoadResult& result) const {
    expect(result.isFinished(), "reports a final state");
    expect(!m_isCancelled || result.state == LoadState::CANCELLED, "reports that it was cancelled");
    expect(m_isCancelled || result.state != LoadState::CANCELLED, "is cancelled only when that was requested");
    expect(m_description.isPartialAllowed || !result.isPartial, "is not partial");
    require(!result.isPartial || result.state == LoadState::SUCCEEDED, "a partial request has succeeded");
    expect(result.state != LoadState::FAILED || !result.failures.empty(), "has failed for a reason");
    expect(result.state != LoadState::SUCCEEDED || result.isPartial == !result.failures.empty(),
           "has reasons only if it is partial");
    for (const LoadFailure& failure : result.failures) {
        expect(!failure.message.empty(), "has a message for each reason");
        expect(failure.code != FailureCode::SERVICE_ENDED, "does not outlive the service");
    }
    const bool hasRoots = result.state == LoadState::SUCCEEDED && m_description.kind != Kind::PRELOAD;
    expect(result.roots.size() == (hasRoots ? m_description.instances : 0), "has a root for each instance");
    expect(result.instanceUuids.size() == result.roots.size(), "has an instance UUID for each root");
}

void TrackedRequest::checkProgress(const LoadProgress& progress, LoadState state) {
    expect(progress.ratio >= m_last.ratio, "has a progress that does not fall");
    expect((progress.ratio == 1) == (state == LoadState::SUCCEEDED), "has the progress 1 if and only if it succeeded");
    expect(progress.ratio <= 1, "has at most the ratio 1");
    expect(progress.phase >= m_last.phase, "does not return to an earlier phase");
    expect(progress.filesRead <= progress.filesTotal, "has read at most all files");
    expect(progress.bytesRead <= progress.bytesTotal, "has read at most all bytes");
    expect(progress.objectsCreated <= progress.objectsTotal, "has created at most all objects");
    m_last = progress;
}

void TrackedRequest::check() {
    if (!hasHandle()) {
        return;
    }
    const LoadHandle handle = m_handles.front();
    const LoadState state = handle.state();
    expect(handle.number() == m_number, "keeps its number");
    expect(!m_isCancelled || state == LoadState::CANCELLED, "is in the state CANCELLED at once");
    expect(!hasReported() || state == m_reported, "keeps the state that it has reported");
    checkProgress(handle.progress(), state);
}

void TrackedRequest::checkEnded() const {
    expect(hasReported(), "has ended");
    for (const unsigned calls : m_calls) {
        expect(calls == 1, "has called each completion function");
    }
    for (const Waiter& waiter : m_waiters) {
        expect(waiter.isDone(), "has resumed each coroutine");
    }
}

} // namespace Kiln::StreamingStress
