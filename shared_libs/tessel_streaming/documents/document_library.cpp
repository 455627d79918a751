#include <tessel_streaming/documents/document_library.h>

#include <tessel_asset_loading/prefab_service.h>
#include <tessel_streaming/documents/file_reading.h>

namespace Kiln::Tessel::Streaming::detail {

struct DocumentLibrary::State final : FileReading {
    using FileReading::FileReading;
};

DocumentLibrary::DocumentLibrary(PrefabService& service, TaskManager& tasks, Tracer& tracer)
    : m_state(std::make_shared<State>(service, tasks, tracer)) {}

DocumentLibrary::~DocumentLibrary() {
    m_state->close();
}

DocumentLibrary::NeedId DocumentLibrary::add(const std::string& path, int priority, bool keep) {
    const FileReading::Access graph(*m_state);
    return graph->add(path, priority, keep);
}

void DocumentLibrary::setPriority(NeedId need, int priority) {
    const FileReading::Access graph(*m_state);
    graph->setPriority(need, priority);
}

void DocumentLibrary::remove(NeedId need) {
    FileReading::Access graph(*m_state);
    graph->remove(need, graph.dropped);
}

void DocumentLibrary::takeCompleted(std::vector<NeedId>& completed) {
    if (m_state->hasCompleted()) {
        const FileReading::Access graph(*m_state);
        graph->takeCompleted(completed);
    }
}

bool DocumentLibrary::isComplete(NeedId need) const {
    return m_state->query([need](const FileGraph& graph) {
        const Need* const known = graph.findNeed(need);
        return known && known->isComplete;
    });
}

DocumentLibrary::Totals DocumentLibrary::totals(NeedId need) const {
    return m_state->query([need](const FileGraph& graph) { return graph.totals(need); });
}

DocumentLibrary::Costs DocumentLibrary::costs(NeedId need) const {
    return m_state->query([need](const FileGraph& graph) { return graph.costs(need); });
}

DocumentLibrary::Counts DocumentLibrary::counts() const {
    return m_state->query([](const FileGraph& graph) { return graph.counts(); });
}

SmartPointer<LoadedFile> DocumentLibrary::find(const std::string& path) const {
    return m_state->query([&path](const FileGraph& graph) -> SmartPointer<LoadedFile> {
        const NeededFile* const file = graph.findFile(path);
        return file && !file->closures.empty() ? file->loaded : nullptr;
    });
}

void DocumentLibrary::releaseUnused() {
    if (m_state->hasUnused()) {
        FileReading::Access graph(*m_state);
        graph->releaseUnused(graph.dropped);
    }
}

void DocumentLibrary::setKeptLimit(std::uint64_t bytes) {
    const FileReading::Access graph(*m_state);
    graph->setKeptLimit(bytes);
}

std::vector<std::pair<std::string, FileStamp>> DocumentLibrary::heldFiles() const {
    return m_state->query([](const FileGraph& graph) { return graph.heldFiles(); });
}

std::vector<DocumentLibrary::NeedId> DocumentLibrary::needsOf(const std::string& path) const {
    return m_state->query([&path](const FileGraph& graph) { return graph.needsOf(path); });
}

void DocumentLibrary::replace(const SmartPointer<LoadedFile>& newer) {
    if (!newer || !newer->prefab()) {
        return;
    }
    PrefabService& service = m_state->service();
    const SmartPointer<DescriptorCacheData> cached = service.findSharedPrefab(newer->path);
    SmartPointer<LoadedFile> replaced = newer; // The previous version is destroyed after the lock has been released.
    {
        FileReading::Access graph(*m_state);
        NeededFile* const file = graph->findFile(newer->path);
        if (!file) {
            return;
        }
        graph->replace(*file, replaced, graph.dropped);
        if (!cached || (cached == file->shared && !cached->isClaimed.load(std::memory_order_relaxed))) {
            file->shared = newer->entry;
        } else {
            file->shared.reset(); // A path that somebody else relies on stays in the cache.
        }
    }
    service.replaceSharedPrefab(newer->path, newer->entry);
}

} // namespace Kiln::Tessel::Streaming::detail
