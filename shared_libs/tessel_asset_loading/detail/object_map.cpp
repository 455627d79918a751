#include <tessel_asset_loading/detail/object_map.h>

#include <core/task_manager.h>

namespace Kiln::Tessel {

namespace {

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

SpareNodes& SpareNodes::ofThisThread() {
    static thread_local SpareNodes nodes;
    return nodes;
}

std::pair<ObjectsByUuid::iterator, bool> SpareNodes::emplace(ObjectsByUuid& map, const Uuid& uuid, GameObject object) {
    if (m_nodes.empty()) {
        return map.try_emplace(uuid, object);
    }
    ObjectsByUuid::node_type& node = m_nodes.back();
    node.key() = uuid;
    node.mapped() = object;
    ObjectsByUuid::insert_return_type result = map.insert(std::move(node));
    if (result.inserted) {
        m_nodes.pop_back();
    } else {
        node = std::move(result.node);
    }
    return {result.position, result.inserted};
}

void SpareNodes::takeFrom(ObjectsByUuid& map) {
    while (!map.empty() && m_nodes.size() < MOST) {
        m_nodes.push_back(map.extract(map.begin()));
    }
    map.clear();
}

MapDisposal::~MapDisposal() {
    try {
        if (m_map.size() < SpareNodes::MOST) {
            SpareNodes::ofThisThread().takeFrom(m_map);
            return;
        }
        SmartPointer<DisposalTask> task = makeSmart<DisposalTask>();
        task->take(m_map);
        FileIOTaskManager::instance().addBackgroundTask(std::move(task), PRIORITY);
    } catch (...) { // NOLINT(bugprone-empty-catch): what has not been disposed of goes with the task or the map.
    }
}

} // namespace Kiln::Tessel
