#include <object_framework/game_object_table.h>

namespace Kiln::Tessel {

GameObjectTable::~GameObjectTable() {
    for (ObjectIndex index = 0; index < m_size; ++index) {
        std::destroy_at(&(*this)[index]);
    }
}

GameObject GameObjectTable::create() {
    ObjectIndex index;
    if (m_free.empty()) {
        index = m_size;
        if (index / CHUNK_SIZE == m_chunks.size()) {
            m_chunks.push_back(Chunk(std::allocator<GameObjectRecord>().allocate(CHUNK_SIZE)));
        }
        std::construct_at(&(*this)[index]);
        ++m_size;
    } else {
        index = m_free.front();
        m_free.pop_front();
    }
    GameObjectRecord& record = (*this)[index];
    record.serial = ++m_lastSerial;
    record.setEnabled(true);
    ++m_aliveCount;
    return {m_worldId, index, record.serial};
}

void GameObjectTable::free(ObjectIndex index) {
    GameObjectRecord& record = (*this)[index];
    std::destroy_at(&record);
    std::construct_at(&record);
    --m_aliveCount;
    m_free.push_back(index);
}

} // namespace Kiln::Tessel
