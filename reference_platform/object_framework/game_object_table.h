#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <object_framework/component_list.h>
#include <object_framework/game_object.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace Kiln::Tessel {

/// Place of a game object in its table; NO_OBJECT for none.
using ObjectIndex = std::uint32_t;
inline constexpr ObjectIndex NO_OBJECT = 0xFFFFFFFF;

/// All that the manager keeps about one game object. There are many: it is kept small.
struct GameObjectRecord {
    /// Not defaulted, or the whole record would be filled with zeros first.
    GameObjectRecord() noexcept {}

    std::uint64_t serial = 0; ///< Grows with every object that the table creates.
    std::uint32_t generation = 0;
    bool isAlive = false;
    bool isEnabled = false; ///< Wants to be active.
    bool isActive = false;
    std::uint8_t flags = 0;

    // The hierarchy: the children of one parent form a chain in the order in which they were attached.
    ObjectIndex parent = NO_OBJECT;
    ObjectIndex firstChild = NO_OBJECT;
    ObjectIndex lastChild = NO_OBJECT;
    ObjectIndex previousSibling = NO_OBJECT;
    ObjectIndex nextSibling = NO_OBJECT;

    Uuid uuid;
    std::string name;
    ComponentList components;

    /// Whether the object is alive, and this is its record and no later one's.
    [[nodiscard]] bool isOf(GameObject object) const noexcept { return isAlive && generation == object.generation(); }
};

/// The table of a world's game objects. Records never move. A place that becomes free is used again, for another
/// generation; places are taken again in the order in which they became free.
class GameObjectTable : NonCopyable {
public:
    explicit GameObjectTable(int worldId) : m_worldId(worldId) {}
    ~GameObjectTable();

    GameObject create();

    /// Marks the record free; the caller has taken the components out.
    void free(ObjectIndex index);

    [[nodiscard]] GameObjectRecord& operator[](ObjectIndex index) noexcept {
        return m_chunks[index / CHUNK_SIZE].get()[index % CHUNK_SIZE];
    }

    /// Null when the handle is of another world, or its object is gone.
    [[nodiscard]] GameObjectRecord* find(GameObject object) noexcept {
        if (object.getWorldId() != m_worldId || object.index() >= m_size) {
            return nullptr;
        }
        GameObjectRecord& record = (*this)[object.index()];
        return record.isOf(object) ? &record : nullptr;
    }

    [[nodiscard]] GameObject handle(ObjectIndex index) noexcept {
        return {m_worldId, index, (*this)[index].generation};
    }

    /// Number of places that have ever been in use; indices are below it.
    [[nodiscard]] ObjectIndex size() const noexcept { return m_size; }
    [[nodiscard]] std::size_t aliveCount() const noexcept { return m_aliveCount; }
    [[nodiscard]] std::uint64_t lastSerial() const noexcept { return m_lastSerial; }

private:
    static constexpr ObjectIndex CHUNK_SIZE = 1024;

    /// Room for records, which are made when their places are first taken: what is touched then is in use from then on.
    struct ChunkDeleter {
        void operator()(GameObjectRecord* records) const noexcept {
            std::allocator<GameObjectRecord>().deallocate(records, CHUNK_SIZE);
        }
    };
    using Chunk = std::unique_ptr<GameObjectRecord, ChunkDeleter>;

    int m_worldId;
    ObjectIndex m_size = 0;
    std::size_t m_aliveCount = 0;
    std::uint64_t m_lastSerial = 0;
    std::vector<Chunk> m_chunks;
    std::deque<ObjectIndex> m_free;
};

} // namespace Kiln::Tessel
