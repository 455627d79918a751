#include <tessel_streaming/documents/file_graph.h>

#include <algorithm>
#include <iterator>

namespace Kiln::Tessel::Streaming::detail {

const Need* FileGraph::findNeed(NeedId id) const noexcept {
    const auto found = m_needs.find(id);
    return found != m_needs.end() ? &found->second : nullptr;
}

NeededFile* FileGraph::findFile(const std::string& path) const {
    const auto found = m_files.find(path);
    return found != m_files.end() ? found->second : nullptr;
}

DocumentLibrary::Totals FileGraph::totals(NeedId id) const noexcept {
    const Need* const need = findNeed(id);
    if (!need) {
        return {};
    }
    const Closure& closure = *need->closure;
    DocumentLibrary::Totals totals;
    totals.filesTotal = closure.files.size();
    totals.filesRead = totals.filesTotal - closure.outstanding;
    totals.bytesRead = closure.bytesRead;
    totals.bytesTotal = closure.bytesTotal;
    return totals;
}

DocumentLibrary::Costs FileGraph::costs(NeedId id) const noexcept {
    const Need* const need = findNeed(id);
    if (!need) {
        return {};
    }
    const Closure& closure = *need->closure;
    DocumentLibrary::Costs costs;
    const Clock::time_point begun = closure.begun ? *closure.begun : Clock::now();
    if (begun > need->added) {
        costs.queued = std::chrono::duration_cast<std::chrono::microseconds>(begun - need->added);
    }
    costs.read = closure.readTime - need->readTimeBefore;
    costs.parsed = closure.parseTime - need->parseTimeBefore;
    costs.cacheHits = need->filesReadBefore + closure.cacheHits - need->cacheHitsBefore;
    return costs;
}

DocumentLibrary::Counts FileGraph::counts() const noexcept {
    DocumentLibrary::Counts counts;
    counts.queuedFiles = m_queue.size();
    counts.readingFiles = m_readingCount;
    counts.heldDocuments = m_documentsCount;
    counts.keptDocuments = m_kept.size();
    counts.keptBytes = m_keptBytes;
    return counts;
}

std::vector<std::pair<std::string, FileStamp>> FileGraph::heldFiles() const {
    std::vector<std::pair<std::string, FileStamp>> held;
    for (const Files* const files : {&m_needed, &m_unneeded, &m_kept}) {
        for (const NeededFile& file : *files) {
            if (file.hasDocument()) {
                held.emplace_back(file.path, file.loaded->stamp);
            }
        }
    }
    return held;
}

std::vector<FileGraph::NeedId> FileGraph::needsOf(const std::string& path) const {
    std::vector<NeedId> ids;
    const NeededFile* const file = findFile(path);
    if (!file) {
        return ids;
    }
    for (const Closure* const closure : file->closures) {
        for (const std::vector<Need*>* const needs : {&closure->waiting, &closure->complete}) {
            std::transform(needs->begin(), needs->end(), std::back_inserter(ids), [](const Need* n) { return n->id; });
        }
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

} // namespace Kiln::Tessel::Streaming::detail
