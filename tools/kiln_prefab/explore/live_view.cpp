#include "live_view.h"

#include <kiln_prefab/spawn/loading_session.h>
#include <kiln_prefab/view/json_text.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>

namespace Kiln::PrefabTool {

namespace {

constexpr int JSON_VERSION = 1;
constexpr std::chrono::seconds TIMEOUT{30};

struct TreeObject {
    std::size_t index;
    std::size_t depth;
};

/// The objects in the order of their tree, each after its parent.
[[nodiscard]] std::vector<TreeObject> treeOf(const std::vector<ObjectRecord>& objects) {
    std::vector<std::vector<std::size_t>> children(objects.size());
    std::vector<TreeObject> pending;
    for (std::size_t i = objects.size(); i > 0; --i) {
        if (const std::optional<std::size_t> parent = objects[i - 1].parent) {
            children[*parent].push_back(i - 1);
        } else {
            pending.push_back({i - 1, 0});
        }
    }
    std::vector<TreeObject> tree;
    while (!pending.empty()) {
        const TreeObject object = pending.back();
        pending.pop_back();
        tree.push_back(object);
        for (const std::size_t child : children[object.index]) {
            pending.push_back({child, object.depth + 1});
        }
    }
    return tree;
}

[[nodiscard]] const char* stateOf(const ObjectRecord& object) {
    return object.isActive ? "active" : "inactive";
}

/// What went wrong with an instance; the state of its root if nothing did.
[[nodiscard]] std::string stateText(const InstanceRecord& record) {
    if (!record.problem.empty()) {
        return record.problem;
    }
    if (record.isCreated()) {
        return stateOf(record.objects.front());
    }
    const auto& messages = record.log.messages;
    const auto error = std::find_if(messages.begin(), messages.end(),
                                    [](const LogRecord::Message& message) { return message.isError(); });
    return error != messages.end() ? error->text : "not loaded";
}

void addInstance(OrderedJson& json, const InstanceRecord& record) {
    const std::chrono::duration<double, std::milli> time = record.duration;
    json["instances"].push_back(
        {{"name", record.prefab}, {"state", stateText(record)}, {"milliseconds", time.count()}});
    for (const auto& [index, depth] : treeOf(record.objects)) {
        const ObjectRecord& object = record.objects[index];
        json["objects"].push_back(
            {{"name", object.name}, {"uuid", object.uuid.toString()}, {"state", stateOf(object)}, {"depth", depth}});
    }
}

/// Adds the pools of a world to those of the same types in other worlds.
void addPools(std::map<std::string, PoolRecord>& all, const std::vector<PoolRecord>& pools) {
    for (const PoolRecord& pool : pools) {
        PoolRecord& sum = all[pool.type];
        sum.usedCount += pool.usedCount;
        sum.activeCount += pool.activeCount;
        sum.capacity += pool.capacity;
    }
}

} // namespace

std::string LiveView::load(LogCollector& log) {
    OrderedJson json{{"schemaVersion", JSON_VERSION},
                     {"instances", OrderedJson::array()},
                     {"objects", OrderedJson::array()},
                     {"pools", OrderedJson::array()}};
    std::map<std::string, PoolRecord> pools;
    for (const std::string& prefab : m_prefabs) {
        InstanceRecord record;
        record.prefab = prefab;
        record.problem = "an earlier background load has not ended";
        if (!m_isStuck) {
            LoadingSession session({prefab, TIMEOUT, false}, log);
            record = session.load(Uuid::generate());
            m_isStuck = session.isStuck();
            if (!m_isStuck) {
                addPools(pools, session.pools());
            }
        }
        addInstance(json, record);
    }
    for (const auto& [type, pool] : pools) {
        json["pools"].push_back(
            {{"type", type}, {"used", pool.usedCount}, {"active", pool.activeCount}, {"capacity", pool.capacity}});
    }
    return jsonText(json);
}

} // namespace Kiln::PrefabTool
