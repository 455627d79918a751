#include <tessel_streaming/streaming.h>

#include <tessel_streaming/requests/load_request.h>
#include <tessel_streaming/service/streaming_service.h>

#include <utility>

namespace Kiln::Tessel::Streaming {

namespace {

using detail::LoadOrder;
using detail::StreamingService;

/// A request that is made after the service has ended.
LoadHandle refused(LoadOrder order) {
    auto request = makeSmart<detail::LoadRequest>(nullptr, std::uint64_t{0}, std::move(order));
    LoadHandle handle = detail::LoadRequest::makeHandle(request);
    request->leaveService();
    return handle;
}

LoadHandle request(LoadOrder order, CompletionFunction completed) {
    StreamingService* const service = StreamingService::find();
    return service ? service->request(std::move(order), std::move(completed)) : refused(std::move(order));
}

} // namespace

LoadHandle load(const std::string& path, int worldId, LoadOptions options, CompletionFunction completed) {
    LoadOrder order;
    order.paths = {path};
    order.worldId = worldId;
    order.options = std::move(options);
    order.instancesCount = 1;
    return request(std::move(order), std::move(completed));
}

LoadHandle spawn(const std::string& path, int worldId, std::span<const Matrix> placements, LoadOptions options,
                 CompletionFunction completed) {
    LoadOrder order;
    order.paths = {path};
    order.worldId = worldId;
    order.options = std::move(options);
    order.placements.assign(placements.begin(), placements.end());
    order.hasOwnPlacements = true;
    order.instancesCount = placements.size();
    return request(std::move(order), std::move(completed));
}

LoadHandle preload(std::vector<std::string> paths, const PreloadOptions& options, CompletionFunction completed) {
    LoadOrder order;
    order.kind = LoadOrder::Kind::DOCUMENTS;
    order.paths = std::move(paths);
    order.options.priority = options.priority;
    order.options.failurePolicy = options.failurePolicy;
    order.options.keep = options.keep;
    return request(std::move(order), std::move(completed));
}

void setFrameBudget(std::chrono::microseconds budget) noexcept {
    if (StreamingService* const service = StreamingService::find()) {
        service->budget().set(budget);
    }
}

std::chrono::microseconds frameBudget() noexcept {
    StreamingService* const service = StreamingService::find();
    return service ? service->budget().get() : DEFAULT_FRAME_BUDGET;
}

void setKeptDocumentsLimit(std::uint64_t bytes) {
    if (StreamingService* const service = StreamingService::find()) {
        service->documents().setKeptLimit(bytes);
    }
}

void watch(bool isWatching) {
    if (StreamingService* const service = StreamingService::find()) {
        service->updates().watch(isWatching);
    }
}

int addUpdateListener(UpdateListener listener) {
    StreamingService* const service = StreamingService::find();
    return service ? service->updates().addListener(std::move(listener)) : 0;
}

void removeUpdateListener(int id) {
    if (StreamingService* const service = StreamingService::find()) {
        service->updates().removeListener(id);
    }
}

Statistics statistics() {
    StreamingService* const service = StreamingService::find();
    return service ? service->statistics() : Statistics();
}

void setTraceHook(TraceHook hook) {
    if (StreamingService* const service = StreamingService::find()) {
        service->tracer().setHook(std::move(hook));
    }
}

} // namespace Kiln::Tessel::Streaming
