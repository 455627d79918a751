#include <object_serialization/component_library.h>

#include <core/log.h>
#include <core/shared_object.h>
#include <object_framework/entry_point.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <stdexcept>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kiln {

namespace {

/// Records by id. They are never removed, and readers take no lock, since workers look up every component they read.
class RecordTable {
public:
    RecordTable() { grow(64); }

    /// Null when there is none.
    [[nodiscard]] const ComponentRecord* find(std::size_t id) const noexcept {
        // Acquire, paired with the releases below: a reader that sees a table or a record also sees its content.
        const Slots& slots = *m_slots.load(std::memory_order_acquire);
        return id < slots.size() ? slots[id].load(std::memory_order_acquire) : nullptr;
    }

    /// Ids are below this number.
    [[nodiscard]] std::size_t count() const noexcept { return m_count.load(std::memory_order_acquire); }

    /// One thread at a time; the id must be free.
    void insert(std::size_t id, ComponentRecord record) {
        grow(id + 1);
        m_records.push_back(std::make_unique<const ComponentRecord>(std::move(record)));
        (*m_slots.load(std::memory_order_relaxed))[id].store(m_records.back().get(), std::memory_order_release);
        m_count.store(std::max(count(), id + 1), std::memory_order_release);
    }

private:
    using Slots = std::vector<std::atomic<const ComponentRecord*>>;

    void grow(std::size_t size) {
        const Slots* const old = m_slots.load(std::memory_order_relaxed);
        if (old && size <= old->size()) {
            return;
        }
        auto larger = std::make_unique<Slots>(std::max(size, old ? 2 * old->size() : 0));
        for (std::size_t id = 0; old && id < old->size(); ++id) {
            (*larger)[id].store((*old)[id].load(std::memory_order_relaxed), std::memory_order_relaxed);
        }
        m_allSlots.push_back(std::move(larger));
        m_slots.store(m_allSlots.back().get(), std::memory_order_release);
    }

    std::atomic<Slots*> m_slots{nullptr};
    std::atomic<std::size_t> m_count{0};
    std::vector<std::unique_ptr<Slots>> m_allSlots; ///< Old tables too: readers may still use them.
    std::vector<std::unique_ptr<const ComponentRecord>> m_records;
};

[[nodiscard]] DebugMessageHelper errorLog() {
    return {0, LogSeverity::ERROR, "", "object_serialization/component_library"};
}

} // namespace

struct ComponentLibrary::State {
    RecordTable records; ///< Written under the mutex.

    /// Guards the members below; innermost lock.
    mutable std::shared_mutex mutex;
    std::unordered_map<std::string, std::size_t> idsByName;
    std::unordered_map<std::type_index, std::size_t> idsByType;
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
    pinCaller();
    const std::unique_lock lock(m_state->mutex);
    const std::size_t id = record.typeId;
    const ComponentRecord* const sameId = m_state->records.find(id);
    if (sameId && id == Tessel::IComponent::MAX_TYPES && sameId->type != record.type) {
        errorLog().message("Component '%s' is refused: the registry of component types is full, and component '%s', "
                           "which does not fit into it either, is registered",
                           record.name.c_str(), sameId->name.c_str());
        return;
    }
    if (sameId || m_state->idsByName.contains(record.name)) {
        errorLog().message("Component '%s' is registered twice; the first registration stays", record.name.c_str());
        return;
    }
    m_state->idsByName.emplace(record.name, id);
    m_state->idsByType.emplace(record.type, id);
    m_state->records.insert(id, std::move(record));
}

std::size_t ComponentLibrary::componentsCount() const {
    return m_state->records.count();
}

std::string ComponentLibrary::componentName(std::size_t id) const {
    const ComponentRecord* const record = m_state->records.find(id);
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
    const ComponentRecord* const record = m_state->records.find(id);
    if (!record) {
        throw std::runtime_error("there is no record of component type " + std::to_string(id));
    }
    return *record;
}

SmartPointer<IComponentDescriptor> ComponentLibrary::createDescriptor(std::size_t id) const {
    const ComponentRecord* const record = m_state->records.find(id);
    return record && record->factory ? record->factory() : nullptr;
}

} // namespace Kiln
