#include <prefab_inspection/prefab_closure.h>

#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <object_serialization/prefab_format.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/prefab_component.h>

#include <cstdint>
#include <optional>
#include <unordered_set>

namespace Kiln::PrefabInspection {

namespace {

using Tessel::ComponentPool;
using Tessel::ComponentPoolStorage;
using Tessel::PrefabFormat;

template <class Component>
[[nodiscard]] std::string registeredName() {
    return ComponentLibrary::instance().componentName(Tessel::NativeComponent<Component>::getType());
}

/// Indices of the game objects that have a parent.
[[nodiscard]] std::unordered_set<std::uint64_t> childIndices(ComponentPoolStorage& components) {
    std::unordered_set<std::uint64_t> indices;
    const std::string name = registeredName<Tessel::HierarchyComponent>();
    for (std::size_t i = 0; i < components.poolsCount(); ++i) {
        const ComponentPool& pool = components.getComponentPool(i);
        for (std::size_t item = 0; pool.getComponentType() == name && item < pool.itemsCount(); ++item) {
            indices.insert(pool.getComponentItem(item).getGameObjectIndex());
        }
    }
    return indices;
}

/// Paths of the prefabs that the document nests, in item order.
[[nodiscard]] std::vector<std::string> nestedPaths(ComponentPoolStorage& components, std::size_t gameObjectsCount) {
    std::vector<std::string> paths;
    const std::unordered_set<std::uint64_t> children = childIndices(components);
    const std::string name = registeredName<Tessel::PrefabComponent>();
    for (std::size_t i = 0; i < components.poolsCount(); ++i) {
        const ComponentPool& pool = components.getComponentPool(i);
        for (std::size_t item = 0; pool.getComponentType() == name && item < pool.itemsCount(); ++item) {
            const Tessel::ComponentItem component = pool.getComponentItem(item);
            const std::uint64_t index = component.getGameObjectIndex();
            if (index >= gameObjectsCount || !children.contains(index)) {
                continue;
            }
            const std::optional<Tessel::PropertyItem> resource =
                component.findProperty(Tessel::PrefabComponent::RESOURCE_PROPERTY);
            if (resource) {
                paths.push_back(resource->getSimpleValue());
            }
        }
    }
    return paths;
}

void countUnknown(ComponentPoolStorage& components, std::map<std::string, std::size_t>& counts) {
    for (std::size_t i = 0; i < components.poolsCount(); ++i) {
        const ComponentPool& pool = components.getComponentPool(i);
        if (pool.itemsCount() > 0 &&
            ComponentLibrary::instance().findComponent(pool.getComponentType()) == ComponentLibrary::INVALID_ID) {
            counts[pool.getComponentType()] += pool.itemsCount();
        }
    }
}

/// Visits a prefab file and the files nested in it, level by level.
class ClosureWalk {
public:
    explicit ClosureWalk(const std::string& path) : m_found{path}, m_known{path} {}

    [[nodiscard]] PrefabClosure run() {
        for (std::size_t index = 0; index < m_found.size(); ++index) {
            visit(std::string(m_found[index])); // A copy, because the list grows during the visit.
        }
        return std::move(m_closure);
    }

private:
    void visit(const std::string& file) {
        const SmartPointer<DataSection> document = FS::Utils::openXmlSection(file, true);
        if (!document) {
            return;
        }
        m_closure.files.push_back(file);
        inspect(document);
    }

    void inspect(const SmartPointer<DataSection>& document) {
        PrefabFormat format(document);
        if (format.getFormatVersion() != PrefabFormat::FORMAT_VERSION || !format.getGameObjects() ||
            !format.getComponents()) {
            return;
        }
        countUnknown(*format.getComponents(), m_closure.unknownComponents);
        for (std::string& nested : nestedPaths(*format.getComponents(), format.getGameObjects()->gameObjectsCount())) {
            if (!nested.empty() && m_known.insert(nested).second) {
                m_found.push_back(std::move(nested));
            }
        }
    }

    std::vector<std::string> m_found;
    std::unordered_set<std::string> m_known; ///< The paths in m_found.
    PrefabClosure m_closure;
};

} // namespace

PrefabClosure inspectClosure(const std::string& path) {
    return ClosureWalk(path).run();
}

} // namespace Kiln::PrefabInspection
