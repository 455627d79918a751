#pragma once

#include "session.h"

#include <memory>

namespace Kiln::PrefabTool {

/// Loads instances the way a game does with Tessel::Loading: request, background parse, frames, callback. A failed
/// instance makes the next one start in a new world, because the service would retry the failed load in every frame.
class LoadingSession final : public Session {
public:
    LoadingSession(Settings settings, LogCollector& log);

private:
    using LoadedRoot = std::shared_ptr<Tessel::GameObject>;

    void prepareLoad(bool hasFailed) override;
    [[nodiscard]] Tessel::GameObject loadInstance(TimePoint deadline, InstanceRecord& record) override;
    [[nodiscard]] std::string describeFailure(const Uuid& instanceUuid) const override;

    void request(const Uuid& instanceUuid, const LoadedRoot& root) const;
    void awaitRoot(const Tessel::GameObject& root, TimePoint deadline, InstanceRecord& record) const;
};

} // namespace Kiln::PrefabTool
