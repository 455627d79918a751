#include <object_framework/query.h>

#include <core/type_name.h>
#include <object_framework/game_object_manager.h>
#include <object_framework/reporting.h>

namespace Kiln::Tessel {

namespace {
constexpr const char* SOURCE = "object_framework/query";
} // namespace

std::map<QueryConfig, std::type_index>& QueryIsUniqueAsserter::s_queriesRegistry() {
    static auto* const registry = new std::map<QueryConfig, std::type_index>(); // Never destroyed.
    return *registry;
}

void QueryIsUniqueAsserter::enter(const QueryConfig& config, std::type_index queryClass) {
    const auto [entry, isNew] = s_queriesRegistry().try_emplace(config, queryClass);
    if (!isNew && entry->second != queryClass) {
        logError(SOURCE, "Query with these arguments already exists! Try this one: " + readableTypeName(entry->second));
    }
}

std::string readableTypeName(std::type_index type) {
    return typeNameInSource(type);
}

QueryBase::QueryBase(QueryConfig config) : m_config(std::move(config)) {}

QueryBase::~QueryBase() {
    if (m_manager) {
        m_manager->forgetQuery(*this);
    }
}

bool QueryBase::contains(GameObject object) const {
    if (object.index() >= m_positions.size() || m_positions[object.index()] == 0) {
        return false;
    }
    return m_objects[m_positions[object.index()] - 1] == object;
}

int QueryBase::addAddedListener(AddedListener listener) {
    m_addedListeners.emplace_back(++m_lastListenerId, std::move(listener));
    return m_lastListenerId;
}

void QueryBase::removeAddedListener(int id) {
    std::erase_if(m_addedListeners, [id](const auto& listener) { return listener.first == id; });
}

IComponent* QueryBase::component(GameObject object, ComponentTypeId type) const {
    return m_manager->findComponent(object, type);
}

void QueryBase::addObject(GameObject object) {
    if (object.index() >= m_positions.size()) {
        m_positions.resize(object.index() + 1);
    }
    m_objects.push_back(object);
    m_positions[object.index()] = static_cast<std::uint32_t>(m_objects.size());
    for (const auto& [id, listener] : m_addedListeners) {
        listener(object);
    }
}

void QueryBase::removeObject(GameObject object) {
    const std::uint32_t position = m_positions[object.index()];
    const GameObject last = m_objects.back();
    m_objects[position - 1] = last;
    m_positions[last.index()] = position;
    m_objects.pop_back();
    m_positions[object.index()] = 0;
}

} // namespace Kiln::Tessel
