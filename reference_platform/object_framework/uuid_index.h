#pragma once

#include <common/uuid.h>
#include <object_framework/game_object_table.h>

#include <unordered_map>

namespace Kiln::Tessel {

/// The living objects of a table by UUID, without those that have none; made by the first search and exact from then
/// on. Refers to the table. Main thread.
class UuidIndex {
public:
    explicit UuidIndex(GameObjectTable& table) noexcept : m_table(table) {}

    /// For an object that has got its UUID.
    void add(ObjectIndex index) {
        if (m_isMade) {
            enter(index);
        }
    }

    /// For an object that is about to lose its UUID.
    void remove(ObjectIndex index) {
        if (m_isMade) {
            erase(index);
        }
    }

    /// The one of them that was created first; the invalid object when there is none.
    [[nodiscard]] GameObject find(const Uuid& uuid);

private:
    void enter(ObjectIndex index);
    void erase(ObjectIndex index);

    GameObjectTable& m_table;
    bool m_isMade = false;
    std::unordered_multimap<Uuid, ObjectIndex> m_indices;
};

} // namespace Kiln::Tessel
