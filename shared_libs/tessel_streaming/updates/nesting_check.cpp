#include <tessel_streaming/updates/nesting_check.h>

#include <tessel_asset_loading/game_object_prefab.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

/// A walk through everything that a version nests.
class NestingWalk {
public:
    NestingWalk(const LoadedFile& top, const FindFile& find) : m_top(top), m_find(find), m_chain{top.path} {}

    /// The number of enclosing prefabs is that of the chain. The depth of nesting limits the recursion.
    void visit(const std::string& path) { // NOLINT(misc-no-recursion)
        if (path == m_top.path) {
            add({FailureCode::CYCLE, path, 0, {}, "The prefab nests itself."}, path);
            return;
        }
        if (m_chain.size() > static_cast<std::size_t>(GameObjectPrefab::MAX_NESTING_DEPTH)) {
            add({FailureCode::TOO_DEEP, path, 0, {}, "Prefabs are nested too deep."}, path);
            return;
        }
        std::size_t& visitedDepth = m_depths[path];
        const SmartPointer<LoadedFile> file = m_find(path);
        if (!file || visitedDepth >= m_chain.size()) {
            return;
        }
        const bool isFirstVisit = visitedDepth == 0;
        visitedDepth = m_chain.size();
        for (std::size_t i = 0; isFirstVisit && i < file->failures.size(); ++i) {
            add(file->failures[i], path);
        }
        if (isFirstVisit && file->prefab() && !file->prefab()->findRootGameObject()) {
            add({FailureCode::NO_ROOT,
                 path,
                 0,
                 {},
                 "The prefab has no game object without a parent, so that it cannot be nested."},
                path);
        }
        m_chain.push_back(path);
        for (const std::string& nested : file->nested) {
            visit(nested);
        }
        m_chain.pop_back();
    }

    [[nodiscard]] std::vector<LoadFailure> takeFailures() { return std::move(m_failures); }

private:
    void add(LoadFailure failure, const std::string& path) {
        failure.chain = m_chain;
        failure.chain.push_back(path);
        m_failures.push_back(std::move(failure));
    }

    const LoadedFile& m_top;
    const FindFile& m_find;
    std::vector<std::string> m_chain;                      ///< From the top to the file that is visited.
    std::unordered_map<std::string, std::size_t> m_depths; ///< The greatest length of the chain at each file.
    std::vector<LoadFailure> m_failures;
};

} // namespace

std::vector<std::string> newlyNested(const LoadedFile& older, const LoadedFile& newer) {
    const std::unordered_set<std::string> known(older.nested.begin(), older.nested.end());
    std::vector<std::string> paths;
    std::copy_if(newer.nested.begin(), newer.nested.end(), std::back_inserter(paths),
                 [&known](const std::string& path) { return !known.contains(path); });
    return paths;
}

std::vector<LoadFailure> checkNesting(const LoadedFile& older, const LoadedFile& newer, const FindFile& find) {
    NestingWalk walk(newer, find);
    for (const std::string& path : newlyNested(older, newer)) {
        walk.visit(path);
    }
    return walk.takeFailures();
}

std::vector<std::size_t> findReached(const std::string& path, const std::vector<std::string>& wanted,
                                     const FindFile& find) {
    std::unordered_set<std::string> visited{path};
    std::vector<std::string> pending{path};
    while (!pending.empty()) {
        const std::string current = std::move(pending.back());
        pending.pop_back();
        if (const SmartPointer<LoadedFile> file = find(current)) {
            for (const std::string& nested : file->nested) {
                if (visited.insert(nested).second) {
                    pending.push_back(nested);
                }
            }
        }
    }
    std::vector<std::size_t> reached;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (visited.contains(wanted[i])) {
            reached.push_back(i);
        }
    }
    return reached;
}

} // namespace Kiln::Tessel::Streaming::detail
