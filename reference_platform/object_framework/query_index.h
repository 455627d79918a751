#pragma once

#include <object_framework/game_object_table.h>
#include <object_framework/query.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <typeindex>
#include <vector>

namespace Kiln::Tessel {

/// The queries of one world, indexed by the component types that they ask for, and the membership of objects in them.
/// Refers to the table and the kinds. Main thread.
///
/// Entering queries is inline, because every activation does it.
class QueryIndex {
public:
    struct Entry {
        std::type_index queryClass;
        std::weak_ptr<QueryBase> shared;
        QueryBase* query;
    };

    QueryIndex(GameObjectTable& table, const ComponentKinds& kinds) noexcept : m_table(table), m_kinds(kinds) {}

    [[nodiscard]] std::span<const Entry> entries() const noexcept { return m_entries; }

    /// The query of that class for a configuration; null when nobody holds one.
    [[nodiscard]] std::shared_ptr<QueryBase> find(const QueryConfig& config, std::type_index queryClass) const;

    /// Adds a query, and to the query all active objects that match it.
    void add(const std::shared_ptr<QueryBase>& query, std::type_index queryClass);

    /// Called by a query that is destroyed.
    void remove(const QueryBase& query);

    /// Called when an object was activated: adds it to the queries that it matches.
    void enterAll(ObjectIndex index, const GameObjectRecord& record) const {
        // Most components are of types that no query asks for. A listener may change the components.
        for (std::size_t i = 0; i < record.components.size(); ++i) {
            const ComponentTypeId type = m_kinds.type(record.components.kind(i));
            if (type < m_isRarestType.size() && m_isRarestType[type] != 0) {
                enter(queriesOf(m_byRarestType, type), index, record);
            }
        }
    }

    /// Called when an object is deactivated: removes it from all queries.
    void leaveAll(ObjectIndex index, const GameObjectRecord& record) const;

    /// Called when a component was added to an active object: adds the object to the queries that it matches now.
    void enter(ObjectIndex index, const GameObjectRecord& record, ComponentTypeId type) const;

    /// Called before a component is removed from an active object: removes the object from the queries that ask for it.
    void leave(ObjectIndex index, ComponentTypeId type) const;

private:
    using QueriesByType = std::vector<std::vector<QueryBase*>>;

    [[nodiscard]] bool matches(const GameObjectRecord& record, const QueryBase& query) const {
        const std::vector<ComponentTypeId>& types = query.config().types;
        return std::all_of(types.rbegin(), types.rend(), [&](ComponentTypeId type) {
            return record.components.find(type, m_kinds) != ComponentList::NONE;
        });
    }

    void enter(std::span<QueryBase* const> candidates, ObjectIndex index, const GameObjectRecord& record) const;
    void leave(std::span<QueryBase* const> candidates, ObjectIndex index) const;

    [[nodiscard]] static std::span<QueryBase* const> queriesOf(const QueriesByType& queries, ComponentTypeId type) {
        return type < queries.size() ? std::span<QueryBase* const>(queries[type]) : std::span<QueryBase* const>();
    }

    static void addTo(QueriesByType& queries, ComponentTypeId type, QueryBase& query);

    GameObjectTable& m_table;
    const ComponentKinds& m_kinds;
    std::vector<Entry> m_entries;

    /// By component type: the queries that ask for it, and those among them that ask for no rarer type. The types that
    /// most objects have, such as HierarchyComponent, were registered first and have the lowest ids.
    QueriesByType m_byType;
    QueriesByType m_byRarestType;

    std::vector<std::uint8_t> m_isRarestType; ///< By component type: 1 if m_byRarestType has queries for it.
};

} // namespace Kiln::Tessel
