#include <object_framework/query_index.h>

namespace Kiln::Tessel {

std::shared_ptr<QueryBase> QueryIndex::find(const QueryConfig& config, std::type_index queryClass) const {
    for (const Entry& entry : m_entries) {
        if (entry.queryClass == queryClass && entry.query->config() == config) {
            if (std::shared_ptr<QueryBase> query = entry.shared.lock()) {
                return query;
            }
        }
    }
    return nullptr;
}

void QueryIndex::add(const std::shared_ptr<QueryBase>& query, std::type_index queryClass) {
    m_entries.push_back({queryClass, query, query.get()});
    const std::vector<ComponentTypeId>& types = query->config().types;
    for (const ComponentTypeId type : types) {
        addTo(m_byType, type, *query);
    }
    addTo(m_byRarestType, types.back(), *query);
    m_isRarestType.resize(m_byRarestType.size());
    m_isRarestType[types.back()] = 1;
    for (ObjectIndex index = 0; index < m_table.size(); ++index) {
        if (m_table[index].isActive() && matches(m_table[index], *query)) {
            query->addObject(m_table.handle(index));
        }
    }
}

void QueryIndex::remove(const QueryBase& query) {
    std::erase_if(m_entries, [&query](const Entry& entry) { return entry.query == &query; });
    for (QueriesByType* const queriesByType : {&m_byType, &m_byRarestType}) {
        for (std::vector<QueryBase*>& queries : *queriesByType) {
            std::erase(queries, &query);
        }
    }
    for (std::size_t type = 0; type < m_isRarestType.size(); ++type) {
        m_isRarestType[type] = m_byRarestType[type].empty() ? 0 : 1;
    }
}

void QueryIndex::leaveAll(ObjectIndex index, const GameObjectRecord& record) const {
    for (std::size_t i = 0; i < record.components.size(); ++i) {
        leave(queriesOf(m_byRarestType, m_kinds.type(record.components.kind(i))), index);
    }
}

void QueryIndex::enter(ObjectIndex index, const GameObjectRecord& record, ComponentTypeId type) const {
    enter(queriesOf(m_byType, type), index, record);
}

void QueryIndex::leave(ObjectIndex index, ComponentTypeId type) const {
    leave(queriesOf(m_byType, type), index);
}

void QueryIndex::enter(std::span<QueryBase* const> candidates, ObjectIndex index,
                       const GameObjectRecord& record) const {
    for (QueryBase* query : candidates) {
        if (matches(record, *query) && !query->contains(m_table.handle(index))) {
            query->addObject(m_table.handle(index));
        }
    }
}

void QueryIndex::leave(std::span<QueryBase* const> candidates, ObjectIndex index) const {
    for (QueryBase* query : candidates) {
        if (query->contains(m_table.handle(index))) {
            query->removeObject(m_table.handle(index));
        }
    }
}

void QueryIndex::addTo(QueriesByType& queries, ComponentTypeId type, QueryBase& query) {
    if (type >= queries.size()) {
        queries.resize(type + std::size_t{1});
    }
    queries[type].push_back(&query);
}

} // namespace Kiln::Tessel
