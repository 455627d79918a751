#include <tessel_asset_loading/game_object_prefab/uuid_map_recycling.h>

#include <core/task_manager.h>
#include <tessel_asset_loading/game_object_prefab/background_priority.h>

#include <atomic>

namespace Kiln::Tessel::detail {

namespace {

class DisposalTask final : public BackgroundTask {
public:
    DisposalTask() : BackgroundTask("MapDisposalTask") { s_isWaiting = true; }
    ~DisposalTask() override { s_isWaiting = false; }

    [[nodiscard]] static bool isWaiting() noexcept { return s_isWaiting; }

    void take(UuidMap& map) noexcept { m_map.swap(map); }

    using BackgroundTask::doBackgroundTask;
    void doBackgroundTask(TaskManager& /*manager*/) override { UuidMap().swap(m_map); }

private:
    static inline std::atomic<bool> s_isWaiting{false}; ///< Whether a task exists.

    UuidMap m_map;
};

} // namespace

SpareNodes& SpareNodes::instance() {
    static auto* const nodes = new SpareNodes;
    return *nodes;
}

std::pair<UuidMap::iterator, bool> SpareNodes::emplace(UuidMap& map, const Uuid& uuid, GameObject object) {
    if (m_nodes.empty()) {
        return map.try_emplace(uuid, object);
    }
    UuidMap::node_type& node = m_nodes.back();
    node.key() = uuid;
    node.mapped() = object;
    UuidMap::insert_return_type result = map.insert(std::move(node));
    if (result.inserted) {
        m_nodes.pop_back();
    } else {
        node = std::move(result.node);
    }
    return {result.position, result.inserted};
}

void SpareNodes::takeFrom(UuidMap& map) {
    while (!map.empty() && m_nodes.size() < MAX_COUNT) {
        m_nodes.push_back(map.extract(map.begin()));
    }
    map.clear();
}

UuidMapDisposal::~UuidMapDisposal() {
    try {
        if (m_map.size() < SpareNodes::MAX_COUNT) {
            SpareNodes::instance().takeFrom(m_map);
        } else if (!DisposalTask::isWaiting()) {
            SmartPointer<DisposalTask> task = makeSmart<DisposalTask>();
            task->take(m_map);
            FileIOTaskManager::instance().addBackgroundTask(std::move(task), BACKGROUND_PRIORITY);
        }
    } catch (...) { // NOLINT(bugprone-empty-catch): what has not been disposed of is freed with the task or the map.
    }
}

} // namespace Kiln::Tessel::detail
