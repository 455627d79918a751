#include <prefab_inspection/composition/dependency_graph.h>

#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <deque>
#include <map>
#include <numeric>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

/// Calls `onUse` for each file that a file names.
template <class OnUse>
class UseReader {
public:
    UseReader(const PrefabFile& file, const OnUse& onUse) : m_file(file), m_onUse(onUse) {}

    void read() {
        for (std::size_t object = 0; object < m_file.document->objects.size(); ++object) {
            const PrefabFile::Component* const prefab = m_file.findComponent(object, NestingTypes::get().prefab);
            if (prefab && !m_file.isRoot(object)) {
                m_object = m_file.document->objects[object].nameElement.text();
                readProperties(m_file.text, prefab->item->properties, 0);
            }
        }
    }

private:
    /// `depth` is 0 for the file itself, 1 for its override data, and so on.
    void readProperties(const std::shared_ptr<const SourceText>& text, DataNode properties, int depth) {
        for (DataNode child = properties.firstChild(); child; child = child.nextSibling()) {
            if (child.isNamed(Tessel::PrefabComponent::RESOURCE_PROPERTY)) {
                const std::string resource = child.text();
                const Origin origin{&m_file.path, text.get(), child};
                if (!resource.empty()) {
                    m_onUse(resource, Place{m_file.path, origin.valueRange(), m_object}, depth > 0);
                }
            } else if (child.isNamed("overridesData") && depth <= Tessel::GameObjectPrefab::MAX_NESTING_DEPTH) {
                readOverrides(m_sources.get(m_file.path, text, child), depth + 1);
            }
        }
    }

    void readOverrides(const OverrideSource* source, int depth) {
        if (!source) {
            return;
        }
        for (const OverrideSource::Record& record : source->records) {
            if (record.component == NestingTypes::get().prefabName) {
                readProperties(source->text, record.properties, depth);
            }
        }
    }

    const PrefabFile& m_file;
    const OnUse& m_onUse;
    OverrideSources m_sources;
    std::string m_object; ///< Name of the integration point.
};

} // namespace

DependencyGraph::DependencyGraph(const std::vector<std::string>& targets, const OnFile& onFile) {
    std::map<std::string, std::size_t, std::less<>> known;
    const auto add = [this, &known](const std::string& path) {
        const auto [entry, isNew] = known.try_emplace(path, m_files.size());
        if (isNew) {
            m_files.emplace_back();
            m_files.back().path = path;
        }
        return entry->second;
    };
    for (const std::string& target : targets) {
        m_files[add(target)].isTarget = true;
    }
    for (std::size_t index = 0; index < m_files.size(); ++index) {
        if (onFile) {
            onFile(index, m_files[index].path);
        }
        const PrefabFile file(m_files[index].path);
        m_files[index].status = file.status;
        m_files[index].problem = file.problem;
        m_files[index].problemRange = file.problemRange;
        if (!file.isLoadable()) {
            continue;
        }
        const auto onUse = [this, &add, index](const std::string& path, Place place, bool isOverride) {
            m_edges.push_back({index, add(path), std::move(place), isOverride});
        };
        UseReader(file, onUse).read();
    }
    sort();
}

/// Orders the files by path, and the edges by user and position, and lists the edges of each file.
void DependencyGraph::sort() {
    std::vector<std::size_t> order(m_files.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [this](std::size_t a, std::size_t b) { return m_files[a].path < m_files[b].path; });
    std::vector<std::size_t> newIndex(m_files.size());
    std::vector<File> files;
    for (const std::size_t index : order) {
        newIndex[index] = files.size();
        files.push_back(std::move(m_files[index]));
    }
    m_files = std::move(files);
    for (Edge& edge : m_edges) {
        edge.user = newIndex[edge.user];
        edge.used = newIndex[edge.used];
    }
    std::stable_sort(m_edges.begin(), m_edges.end(), [](const Edge& a, const Edge& b) {
        return a.user != b.user ? a.user < b.user : a.place.range < b.place.range;
    });
    for (std::size_t i = 0; i < m_edges.size(); ++i) {
        m_files[m_edges[i].user].uses.push_back(i);
        m_files[m_edges[i].used].usedBy.push_back(i);
    }
}

std::size_t DependencyGraph::find(std::string_view path) const {
    const auto file = std::lower_bound(m_files.begin(), m_files.end(), path,
                                       [](const File& known, std::string_view wanted) { return known.path < wanted; });
    return file != m_files.end() && file->path == path ? static_cast<std::size_t>(file - m_files.begin()) : NONE;
}

std::vector<std::size_t> DependencyGraph::roots() const {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        const bool isUsed = std::any_of(m_files[i].usedBy.begin(), m_files[i].usedBy.end(),
                                        [this, i](std::size_t edge) { return m_edges[edge].user != i; });
        if (!isUsed) {
            found.push_back(i);
        }
    }
    return found;
}

std::vector<bool> DependencyGraph::reachable(const std::vector<std::size_t>& from) const {
    std::vector<bool> isReached(m_files.size());
    std::vector<std::size_t> pending = from;
    while (!pending.empty()) {
        const std::size_t file = pending.back();
        pending.pop_back();
        if (isReached[file]) {
            continue;
        }
        isReached[file] = true;
        for (const std::size_t edge : m_files[file].uses) {
            pending.push_back(m_edges[edge].used);
        }
    }
    return isReached;
}

/// The strongly connected component of each file, as a number (Kosaraju's algorithm, without recursion).
std::vector<std::size_t> DependencyGraph::groups() const {
    std::vector<std::size_t> finished;
    std::vector<bool> isEntered(m_files.size());
    std::vector<std::pair<std::size_t, std::size_t>>
        path; // A file and the number of its edges that have been followed.
    for (std::size_t start = 0; start < m_files.size(); ++start) {
        if (!isEntered[start]) {
            isEntered[start] = true;
            path.emplace_back(start, 0);
        }
        while (!path.empty()) {
            auto& [file, next] = path.back();
            if (next == m_files[file].uses.size()) {
                finished.push_back(file);
                path.pop_back();
                continue;
            }
            const std::size_t used = m_edges[m_files[file].uses[next++]].used;
            if (!isEntered[used]) {
                isEntered[used] = true;
                path.emplace_back(used, 0);
            }
        }
    }
    std::vector<std::size_t> group(m_files.size(), NONE);
    for (auto start = finished.rbegin(); start != finished.rend(); ++start) {
        std::vector<std::size_t> pending{*start};
        while (!pending.empty()) {
            const std::size_t file = pending.back();
            pending.pop_back();
            if (group[file] != NONE) {
                continue;
            }
            group[file] = *start;
            for (const std::size_t edge : m_files[file].usedBy) {
                pending.push_back(m_edges[edge].user);
            }
        }
    }
    return group;
}

/// A breadth-first search from a file back to itself, within its group. Empty if there is none.
std::vector<std::size_t> DependencyGraph::shortestCycle(std::size_t start,
                                                        const std::vector<std::size_t>& group) const {
    std::map<std::size_t, std::size_t> reachedBy; // The edge that reached each file first.
    std::deque<std::size_t> pending{start};
    while (!pending.empty() && !reachedBy.contains(start)) {
        const std::size_t file = pending.front();
        pending.pop_front();
        for (const std::size_t edge : m_files[file].uses) {
            const std::size_t used = m_edges[edge].used;
            if (group[used] == group[start] && reachedBy.try_emplace(used, edge).second) {
                pending.push_back(used);
            }
        }
    }
    std::vector<std::size_t> cycle;
    if (reachedBy.contains(start)) {
        std::size_t file = start;
        do {
            cycle.push_back(reachedBy.at(file));
            file = m_edges[cycle.back()].user;
        } while (file != start);
    }
    std::reverse(cycle.begin(), cycle.end());
    return cycle;
}

std::vector<std::vector<std::size_t>> DependencyGraph::cycles() const {
    const std::vector<std::size_t> group = groups();
    std::vector<bool> isReported(m_files.size());
    std::vector<std::vector<std::size_t>> found;
    for (std::size_t file = 0; file < m_files.size(); ++file) {
        if (isReported[group[file]]) {
            continue;
        }
        std::vector<std::size_t> cycle = shortestCycle(file, group);
        if (!cycle.empty()) {
            isReported[group[file]] = true;
            found.push_back(std::move(cycle));
        }
    }
    return found;
}

} // namespace Kiln::PrefabInspection
