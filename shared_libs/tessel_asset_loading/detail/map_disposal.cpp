#include <tessel_asset_loading/detail/map_disposal.h>

#include <core/task_manager.h>

#include <utility>

namespace Kiln::Tessel {

namespace {

using ObjectsByUuid = std::unordered_map<Uuid, GameObject>;

/// Maps for which a worker pays.
constexpr std::size_t LARGE_MAP = 4096;

/// After everything that somebody waits for.
constexpr int PRIORITY = 0;

class DisposalTask final : public BackgroundTask {
public:
    DisposalTask() : BackgroundTask("MapDisposalTask") {}

    void take(ObjectsByUuid& map) noexcept { m_map.swap(map); }
    void doBackgroundTask(TaskManager& /*manager*/) override { ObjectsByUuid().swap(m_map); }

private:
    ObjectsByUuid m_map;
};

} // namespace

MapDisposal::~MapDisposal() {
    if (m_map.size() < LARGE_MAP) {
        return;
    }
    try {
        SmartPointer<DisposalTask> task = makeSmart<DisposalTask>();
        task->take(m_map);
        FileIOTaskManager::instance().addBackgroundTask(std::move(task), PRIORITY);
    } catch (...) { // NOLINT(bugprone-empty-catch): the map has been destroyed with the task, or is left as it was.
    }
}

} // namespace Kiln::Tessel
