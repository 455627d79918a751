#include <tessel_streaming/instances/document_check.h>

#include <tessel_asset_loading/game_object_prefab/instance_gathering.h>
#include <tessel_streaming/instances/document_resolver.h>

#include <algorithm>

namespace Kiln::Tessel::Streaming::detail {

void DocumentCheck::visit(const std::string& path) {
    const SmartPointer<LoadedFile> top = m_documents.find(path);
    if (!top || !top->prefab()) {
        m_hasFailedTopFile = true;
        for (LoadFailure failure : top ? top->failures : std::vector<LoadFailure>()) {
            failure.chain = {path};
            m_failures.push_back(std::move(failure));
        }
        return;
    }
    const Visit visit = visitFile(path, 0);
    if (visit.isDoubtful || visit.levels > static_cast<std::size_t>(GameObjectPrefab::MAX_NESTING_DEPTH)) {
        listFailures(top);
    }
}

DocumentCheck::Visit DocumentCheck::visitFile(const std::string& path, int depth) {
    if (depth > GameObjectPrefab::MAX_NESTING_DEPTH) {
        return {false, true, 0}; // Not noted: the file may also be nested at a smaller depth.
    }
    if (const auto [entry, isNew] = m_visits.try_emplace(path); !isNew) {
        Visit visit = entry->second;
        visit.isDoubtful |= visit.isOpen; // A cycle.
        return visit;
    }
    Visit visit;
    visit.isOpen = false;
    const SmartPointer<LoadedFile> file = m_documents.find(path);
    if (!file || !file->prefab()) {
        visit.isDoubtful = true;
    } else {
        for (const std::string& type : file->unknownComponents) {
            m_skipped.push_back({path, type});
        }
        for (const std::string& nested : file->nested) {
            const Visit below = visitFile(nested, depth + 1);
            visit.isDoubtful |= below.isDoubtful;
            visit.levels = std::max(visit.levels, below.levels + 1);
        }
    }
    m_visits[path] = visit;
    return visit;
}

void DocumentCheck::listFailures(const SmartPointer<LoadedFile>& top) {
    DocumentResolver resolver(m_documents, top);
    Tessel::detail::InstanceGathering::Items items;
    Tessel::detail::InstanceGathering gathering(items, &resolver);
    // Beyond a limit of the number of objects, the list is not complete; the creation reports that.
    (void)(gathering.enter(*top->prefab(), Uuid::ZERO, nullptr, false, 0) &&
           gathering.visitNodes(Tessel::detail::Deadline()));
    for (const LoadFailure& failure : resolver.failures()) {
        m_failures.push_back(failure);
    }
}

} // namespace Kiln::Tessel::Streaming::detail
