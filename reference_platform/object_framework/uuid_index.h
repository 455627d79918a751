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
    void add(ObjectIndex place) {
        if (m_isMade) {
            enter(place);
        }
    }

    /// For an object that is about to lose its UUID.
    void remove(ObjectIndex place) {
        if (m_isMade) {
            erase(place);
        }
    }

    /// The one of them that was created first; the invalid object when there is none.
    [[nodiscard]] GameObject find(const Uuid& uuid);

private:
    void enter(ObjectIndex place);
    void erase(ObjectIndex place);

    GameObjectTable& m_table;
    bool m_isMade = false;
    std::unordered_multimap<Uuid, ObjectIndex> m_places;
};

} // namespace Kiln::Tessel
