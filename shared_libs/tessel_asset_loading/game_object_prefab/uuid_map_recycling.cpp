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
    void doBackgroundTask(TaskManager& /*manager*/) override {
        for (std::size_t count = 1; !m_map.empty(); ++count) {
            m_map.erase(m_map.begin());
            if (count % MERGED_NODES == 0) {
                // The allocator of glibc merges freed nodes only when a thread requests or frees a large block: all of
                // them at once, while it holds the lock of the heap. Let that be this thread, and a few at a time.
                delete[] new char[MERGING_BLOCK];
            }
        }
        UuidMap().swap(m_map);
    }

private:
    static constexpr std::size_t MERGED_NODES = 1024;
    static constexpr std::size_t MERGING_BLOCK = 4096;

    static inline std::atomic<bool> s_isWaiting{false}; ///< Whether a task exists.

    UuidMap m_map;
};

/// Lets a worker destroy the content of a map, unless another one waits for that.
void giveToWorker(UuidMap& map) {
    if (!DisposalTask::isWaiting()) {
        SmartPointer<DisposalTask> task = makeSmart<DisposalTask>();
        task->take(map);
        FileIOTaskManager::instance().addBackgroundTask(std::move(task), BACKGROUND_PRIORITY);
    }
}

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

void SpareNodes::takeOne(UuidMap& map) {
    if (m_nodes.size() < MAX_COUNT) {
        m_nodes.push_back(map.extract(map.begin()));
    } else {
        map.erase(map.begin());
    }
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
        } else {
            giveToWorker(m_map);
        }
    } catch (...) { // NOLINT(bugprone-empty-catch): what has not been disposed of is freed with the task or the map.
    }
}

bool disposeOf(UuidMap& map, const Deadline& deadline) noexcept {
    constexpr std::size_t GROUP = 64; // Nodes between two checks of the deadline.
    try {
        if (map.bucket_count() >= SpareNodes::MAX_COUNT) {
            giveToWorker(map); // Freeing the table of buckets alone may take too long for a step.
        }
        SpareNodes& nodes = SpareNodes::instance();
        do {
            for (std::size_t i = 0; i < GROUP && !map.empty(); ++i) {
                nodes.takeOne(map);
            }
        } while (!map.empty() && !deadline.hasPassed());
    } catch (...) { // No memory to keep nodes: they are freed.
        map.clear();
    }
    return map.empty();
}

} // namespace Kiln::Tessel::detail
