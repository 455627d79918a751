#include "uuid_search.h"

#include <core/non_copyable.h>
#include <core/parallel.h>
#include <prefab_inspection/composition/composition.h>
#include <prefab_inspection/composition/prefab_file.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <memory>
#include <mutex>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

using PrefabInspection::Composition;
using PrefabInspection::PrefabFile;
using PrefabInspection::PrefabFiles;
using PrefabInspection::StoredObject;

/// A thread that has read more files forgets them, so that memory stays bounded.
constexpr std::size_t MAX_KEPT_FILES = 256;

void findInFile(const PrefabFile& file, const Uuid& uuid, UuidSearchResult& result) {
    for (const StoredObject& object : file.document->objects) {
        if (object.isUuidReadable && object.uuid == uuid) {
            const std::string name = object.nameElement.text();
            result.found.push_back(
                {file.path, false, name, {file.path, file.originOf(object.element).elementRange(), name}});
        }
    }
}

void findInInstance(PrefabFiles& files, const PrefabFile& file, const UuidSearch& search, UuidSearchResult& result) {
    const Composition composition(files, file.path, {search.instanceUuid});
    const std::size_t object = composition.failure() ? Composition::NONE : composition.findLiveUuid(search.uuid);
    if (object != Composition::NONE) {
        const PrefabInspection::Origin origin = composition.origin(object);
        result.found.push_back({file.path,
                                true,
                                composition.path(object),
                                {*origin.file, origin.elementRange(), composition.name(object)}});
    }
}

class Searcher : NonCopyable {
public:
    Searcher(const std::vector<std::string>& paths, const UuidSearch& search)
        : m_paths(paths), m_search(search), m_results(paths.size()) {}

    [[nodiscard]] UuidSearchResult run() {
        runOnThreads(std::min(threadsFor(m_search.threads), m_paths.size()), [this] { work(); });
        UuidSearchResult all;
        for (UuidSearchResult& result : m_results) {
            std::move(result.found.begin(), result.found.end(), std::back_inserter(all.found));
            std::move(result.problems.begin(), result.problems.end(), std::back_inserter(all.problems));
        }
        return all;
    }

private:
    void work() {
        std::unique_ptr<PrefabFiles> files; // Of this thread.
        for (std::size_t index = m_next++; index < m_paths.size(); index = m_next++) {
            if (!files || files->count() > MAX_KEPT_FILES) {
                files = std::make_unique<PrefabFiles>();
            }
            m_results[index] = search(*files, m_paths[index]);
            const std::lock_guard lock(m_mutex);
            ++m_done;
            if (m_search.onFile) {
                m_search.onFile(m_done, m_paths[index]);
            }
        }
    }

    [[nodiscard]] UuidSearchResult search(PrefabFiles& files, const std::string& path) const {
        UuidSearchResult result;
        const PrefabFile& file = files.get(path);
        if (!file.document) {
            result.problems.push_back(path + ": the file " + file.problem);
            return result;
        }
        findInFile(file, m_search.uuid, result);
        findInInstance(files, file, m_search, result);
        return result;
    }

    const std::vector<std::string>& m_paths;
    const UuidSearch& m_search;
    std::vector<UuidSearchResult> m_results; ///< Of each file; each element is written by one thread.
    std::atomic<std::size_t> m_next = 0;
    std::mutex m_mutex; ///< Guards the following member and the calls of onFile.
    std::size_t m_done = 0;
};

} // namespace

UuidSearchResult findUuid(const std::vector<std::string>& paths, const UuidSearch& search) {
    return Searcher(paths, search).run();
}

} // namespace Kiln::PrefabTool
