#pragma once

#include <common/uuid.h>
#include <object_framework/game_object_table.h>

#include <unordered_map>

namespace Kiln::Tessel {

/// Index of a table's living objects by UUID; objects without a UUID are left out. Built by the first lookup and kept
/// up to date from then on. Refers to the table. Main thread.
class UuidIndex {
public:
    explicit UuidIndex(GameObjectTable& table) noexcept : m_table(table) {}

    /// Called after the UUID of an object was set.
    void add(ObjectIndex index) {
        if (m_isBuilt) {
            enter(index);
        }
    }

    /// Called before the UUID of an object changes and before the object is freed.
    void remove(ObjectIndex index) {
        if (m_isBuilt) {
            erase(index);
        }
    }

    /// The object with that UUID, or the invalid object; if several have it, the one created first.
    [[nodiscard]] GameObject find(const Uuid& uuid);

private:
    void enter(ObjectIndex index);
    void erase(ObjectIndex index);

    GameObjectTable& m_table;
    bool m_isBuilt = false;
    std::unordered_multimap<Uuid, ObjectIndex> m_indices;
};

} // namespace Kiln::Tessel
