#pragma once

#include <object_framework/game_object_table.h>
#include <object_framework/object_tree.h>
#include <object_framework/query_index.h>

namespace Kiln::Tessel {

/// Activation and deactivation of objects with their components and their membership in queries. Components may remove
/// and move objects during these operations. Refers to the tree and the queries. Main thread.
class ObjectActivation {
public:
    ObjectActivation(ObjectTree& tree, const QueryIndex& queries) noexcept : m_tree(tree), m_queries(queries) {}

    /// Activates an object, if it is enabled, and then its enabled descendants.
    void activateTree(ObjectIndex root) const;

    /// Deactivates an object and its active descendants.
    void deactivateTree(ObjectIndex root) const;

    /// Deactivates an active object, but not its descendants.
    void deactivate(ObjectIndex index, GameObjectRecord& record) const;

private:
    void activate(ObjectIndex index, GameObjectRecord& record) const;

    ObjectTree& m_tree;
    const QueryIndex& m_queries;
};

} // namespace Kiln::Tessel
