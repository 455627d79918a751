#include <object_framework/uuid_index.h>

#include <algorithm>

namespace Kiln::Tessel {

GameObject UuidIndex::find(const Uuid& uuid) {
    if (!m_isBuilt) {
        m_isBuilt = true;
        m_indices.reserve(m_table.aliveCount());
        for (ObjectIndex index = 0; index < m_table.size(); ++index) {
            enter(index);
        }
    }
    const auto [first, last] = m_indices.equal_range(uuid);
    const auto earliest = std::min_element(first, last, [this](const auto& a, const auto& b) {
        return m_table[a.second].serial < m_table[b.second].serial;
    });
    return earliest != last ? m_table.handle(earliest->second) : GameObject::INVALID_GAME_OBJECT;
}

void UuidIndex::enter(ObjectIndex index) {
    const GameObjectRecord& record = m_table[index];
    if (record.isAlive() && record.uuid != Uuid::ZERO) {
        m_indices.emplace(record.uuid, index);
    }
}

void UuidIndex::erase(ObjectIndex index) {
    const auto [first, last] = m_indices.equal_range(m_table[index].uuid);
    const auto entry = std::find_if(first, last, [index](const auto& other) { return other.second == index; });
    if (entry != last) {
        m_indices.erase(entry);
    }
}

} // namespace Kiln::Tessel
