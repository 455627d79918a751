#include <tessel_streaming/requests/request_lanes.h>

namespace Kiln::Tessel::Streaming::detail {

void RequestLanes::add(const SmartPointer<LoadRequest>& request) {
    if (request->order().options.reportsInOrder) {
        m_lanes[request->priority()].emplace(request->number(), request);
    }
}

void RequestLanes::remove(const LoadRequest& request) {
    m_unordered.erase(request.number());
    if (const auto lane = m_lanes.find(request.priority()); lane != m_lanes.end()) {
        lane->second.erase(request.number());
        if (lane->second.empty()) {
            m_lanes.erase(lane);
        }
    }
}

void RequestLanes::setPriority(const SmartPointer<LoadRequest>& request, int priority) {
    const bool isFinished = m_unordered.contains(request->number());
    remove(*request);
    request->setPriority(priority);
    add(request);
    if (isFinished) {
        noteFinished(request);
    }
}

void RequestLanes::noteFinished(const SmartPointer<LoadRequest>& request) {
    if (!request->order().options.reportsInOrder) {
        m_unordered.emplace(request->number(), request);
    }
}

SmartPointer<LoadRequest> RequestLanes::nextToReport() const {
    SmartPointer<LoadRequest> next;
    if (!m_unordered.empty()) {
        next = m_unordered.begin()->second;
    }
    for (const auto& [priority, lane] : m_lanes) {
        const SmartPointer<LoadRequest>& first = lane.begin()->second;
        if (first->stage == LoadRequest::Stage::FINISHED && (!next || first->number() < next->number())) {
            next = first;
        }
    }
    return next;
}

} // namespace Kiln::Tessel::Streaming::detail
