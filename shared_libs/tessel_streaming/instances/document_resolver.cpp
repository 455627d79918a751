#include <tessel_streaming/instances/document_resolver.h>

#include <algorithm>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

using Tessel::detail::NestedPrefab;

DocumentResolver::DocumentResolver(const DocumentLibrary& documents, const SmartPointer<LoadedFile>& top)
    : m_documents(documents), m_top(top) {
    m_files.emplace(top->path, top);
    use(top);
}

const DocumentResolver::Used& DocumentResolver::use(const SmartPointer<LoadedFile>& file) {
    const auto [entry, isNew] = m_used.try_emplace(file->prefab());
    if (isNew) {
        entry->second = {file, static_cast<bool>(file->prefab()->findRootGameObject())};
        for (const std::string& type : file->unknownComponents) {
            m_skipped.push_back({file->path, type});
        }
    }
    return entry->second;
}

const SmartPointer<LoadedFile>& DocumentResolver::find(const std::string& resource) {
    static const SmartPointer<LoadedFile> none;
    if (const auto found = m_files.find(resource); found != m_files.end()) {
        return found->second;
    }
    SmartPointer<LoadedFile> file = m_documents.find(resource);
    return file ? m_files.emplace(resource, std::move(file)).first->second : none;
}

NestedPrefab DocumentResolver::load(const std::string& resource, std::span<const GameObjectPrefab* const> enclosing) {
    if (enclosing.size() > static_cast<std::size_t>(GameObjectPrefab::MAX_NESTING_DEPTH)) {
        refuseDepth(resource, enclosing);
        return {};
    }
    const SmartPointer<LoadedFile>& file = find(resource);
    if (!file) {
        if (std::find(m_unread.begin(), m_unread.end(), resource) == m_unread.end()) {
            m_unread.push_back(resource);
        }
        return {};
    }
    if (!file->prefab()) {
        if (m_failedFiles.insert(resource).second) {
            for (LoadFailure failure : file->failures) {
                failure.chain = chainTo(resource, enclosing);
                m_failures.push_back(std::move(failure));
            }
        }
        return {};
    }
    if (m_hasCycle && std::find(enclosing.begin(), enclosing.end(), file->prefab()) != enclosing.end()) {
        return {};
    }
    if (!use(file).hasRoot) {
        addFailure({FailureCode::NO_ROOT, resource, 0, chainTo(resource, enclosing),
                    "The prefab has no game object without a parent, so that it cannot be nested."});
        return {};
    }
    return {file->prefab(), file->entry};
}

std::vector<std::string> DocumentResolver::chainTo(const std::string& resource,
                                                   std::span<const GameObjectPrefab* const> enclosing) const {
    std::vector<std::string> chain;
    chain.reserve(enclosing.size() + 1);
    for (const GameObjectPrefab* const prefab : enclosing) {
        const auto used = m_used.find(prefab);
        chain.push_back(used == m_used.end() ? std::string() : used->second.file->path);
    }
    chain.push_back(resource);
    return chain;
}

std::vector<std::string> DocumentResolver::chainToComponent(const IComponentDescriptor& component) const {
    const auto hasComponent = [&component](const LoadedFile& file) {
        for (std::size_t i = 0; i < file.prefab()->nodesCount(); ++i) {
            const SmartPointer<GameObjectDescriptor> node = file.prefab()->getGameObject(i);
            if (node && node->findComponent(component.type()) == &component) {
                return true;
            }
        }
        return false;
    };
    // Breadth first, so that the chain is one of the shortest.
    std::vector<std::vector<std::string>> chains{{m_top->path}};
    std::unordered_set<std::string> visited{m_top->path};
    for (std::size_t i = 0; i < chains.size(); ++i) {
        const auto found = m_files.find(chains[i].back());
        if (found == m_files.end() || !found->second->prefab()) {
            continue;
        }
        if (hasComponent(*found->second)) {
            return chains[i];
        }
        for (const std::string& nested : found->second->nested) {
            if (visited.insert(nested).second) {
                std::vector<std::string> chain = chains[i];
                chain.push_back(nested);
                chains.push_back(std::move(chain));
            }
        }
    }
    return {m_top->path};
}

/// The depth limit ends a cycle, too: overrides may break one before, so that only this tells for certain.
void DocumentResolver::refuseDepth(const std::string& resource, std::span<const GameObjectPrefab* const> enclosing) {
    std::vector<std::string> chain = chainTo(resource, enclosing);
    // Shorten the chain to the first prefab that comes a second time.
    for (auto second = chain.begin(); second != chain.end(); ++second) {
        if (std::find(chain.begin(), second, *second) != second) {
            m_hasCycle = true;
            const std::string culprit = *second;
            chain.erase(second + 1, chain.end());
            addFailure({FailureCode::CYCLE, culprit, 0, std::move(chain), "The prefab nests itself."});
            return;
        }
    }
    addFailure({FailureCode::TOO_DEEP, resource, 0, std::move(chain),
                "Prefabs are nested more than " + std::to_string(GameObjectPrefab::MAX_NESTING_DEPTH) +
                    " levels below the requested one."});
}

void DocumentResolver::addFailure(LoadFailure failure) {
    if (m_failedFiles.insert(failure.file).second) {
        m_failures.push_back(std::move(failure));
    }
}

} // namespace Kiln::Tessel::Streaming::detail
