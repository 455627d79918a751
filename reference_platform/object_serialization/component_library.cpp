#include <object_serialization/component_library.h>

#include <core/log.h>
#include <object_framework/entry_point.h>

#include <mutex>
#include <shared_mutex>
#include <stdexcept>
#include <unordered_map>
#include <vector>

namespace Kiln {

struct ComponentLibrary::State {
    /// Guards the members below; innermost lock.
    mutable std::shared_mutex mutex;
    std::vector<std::unique_ptr<const ComponentRecord>> records; ///< By id; null where there is none.
    std::unordered_map<std::string, std::size_t> idsByName;
    std::unordered_map<std::type_index, std::size_t> idsByType;

    [[nodiscard]] const ComponentRecord* find(std::size_t id) const {
        const std::shared_lock lock(mutex);
        return id < records.size() ? records[id].get() : nullptr;
    }
};

ComponentLibrary& ComponentLibrary::instance() {
    static ComponentLibrary& library = []() -> ComponentLibrary& {
        Tessel::EntryPoint& entryPoint = Tessel::EntryPoint::instance();
        entryPoint.registerService(typeid(ComponentLibrary), std::make_unique<ComponentLibrary>());
        return *entryPoint.getService<ComponentLibrary>();
    }();
    return library;
}

ComponentLibrary::ComponentLibrary() : m_state(std::make_unique<State>()) {}
ComponentLibrary::~ComponentLibrary() = default;

void ComponentLibrary::append(ComponentRecord record) {
    const std::unique_lock lock(m_state->mutex);
    const std::size_t id = record.typeId;
    if (id >= m_state->records.size()) {
        m_state->records.resize(id + 1);
    }
    if (m_state->records[id] || m_state->idsByName.contains(record.name)) {
        DebugMessageHelper(0, LogSeverity::ERROR, "", "object_serialization/component_library")
            .message("Component '%s' is registered twice; the first registration stays", record.name.c_str());
        return;
    }
    m_state->idsByName.emplace(record.name, id);
    m_state->idsByType.emplace(record.type, id);
    m_state->records[id] = std::make_unique<const ComponentRecord>(std::move(record));
}

std::size_t ComponentLibrary::componentsCount() const {
    const std::shared_lock lock(m_state->mutex);
    return m_state->records.size();
}

std::string ComponentLibrary::componentName(std::size_t id) const {
    const ComponentRecord* const record = m_state->find(id);
    return record ? record->name : std::string();
}

std::size_t ComponentLibrary::findComponent(std::string_view name) const {
    const std::shared_lock lock(m_state->mutex);
    const auto found = m_state->idsByName.find(std::string(name));
    return found == m_state->idsByName.end() ? INVALID_ID : found->second;
}

std::size_t ComponentLibrary::findComponent(const std::type_info& type) const {
    const std::shared_lock lock(m_state->mutex);
    const auto found = m_state->idsByType.find(type);
    return found == m_state->idsByType.end() ? INVALID_ID : found->second;
}

const ComponentRecord& ComponentLibrary::componentMeta(std::size_t id) const {
    const ComponentRecord* const record = m_state->find(id);
    if (!record) {
        throw std::runtime_error("there is no record of component type " + std::to_string(id));
    }
    return *record;
}

SmartPointer<IComponentDescriptor> ComponentLibrary::createDescriptor(std::size_t id) const {
    const ComponentRecord* const record = m_state->find(id);
    return record && record->factory ? record->factory() : nullptr;
}

} // namespace Kiln
