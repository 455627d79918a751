#include <object_framework/uuid_index.h>

#include <algorithm>

namespace Kiln::Tessel {

GameObject UuidIndex::find(const Uuid& uuid) {
    if (!m_isMade) {
        m_isMade = true;
        m_places.reserve(m_table.aliveCount());
        for (ObjectIndex place = 0; place < m_table.size(); ++place) {
            enter(place);
        }
    }
    const auto [first, last] = m_places.equal_range(uuid);
    const auto earliest = std::min_element(first, last, [this](const auto& a, const auto& b) {
        return m_table[a.second].generation < m_table[b.second].generation;
    });
    return earliest != last ? m_table.handle(earliest->second) : GameObject::INVALID_GAME_OBJECT;
}

void UuidIndex::enter(ObjectIndex place) {
    const GameObjectRecord& record = m_table[place];
    if (record.isAlive() && record.uuid != Uuid::ZERO) {
        m_places.emplace(record.uuid, place);
    }
}

void UuidIndex::erase(ObjectIndex place) {
    const auto [first, last] = m_places.equal_range(m_table[place].uuid);
    const auto entry = std::find_if(first, last, [place](const auto& other) { return other.second == place; });
    if (entry != last) {
        m_places.erase(entry);
    }
}

} // namespace Kiln::Tessel
