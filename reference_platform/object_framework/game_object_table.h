#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <core/shared_text.h>
#include <object_framework/component_list.h>
#include <object_framework/game_object.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace Kiln::Tessel {

/// Index of a game object in its table; NO_OBJECT for none.
using ObjectIndex = std::uint32_t;
inline constexpr ObjectIndex NO_OBJECT = 0xFFFFFFFF;

/// What the manager stores for one game object. A world has many objects, so the record is kept small.
struct GameObjectRecord {
    /// User-provided, because value-initialization with a defaulted constructor first fills the record with zeros.
    GameObjectRecord() noexcept {} // NOLINT(modernize-use-equals-default)

    /// Serial number of the object: counts all objects of the table, from 1; 0 while the record is free.
    std::uint64_t serial = 0;
    Uuid uuid;
    SharedText name;

    // The hierarchy: the children of one parent form a chain in the order in which they were attached. The first
    // child's previous sibling is the last child.
    ObjectIndex parent = NO_OBJECT;
    ObjectIndex firstChild = NO_OBJECT;
    ObjectIndex previousSibling = NO_OBJECT;
    ObjectIndex nextSibling = NO_OBJECT;

    [[no_unique_address]] ComponentList components; ///< Its padding holds m_state.

    [[nodiscard]] bool isAlive() const noexcept { return serial != 0; }

    /// Whether the object is alive and the record has not been reused for a later one.
    [[nodiscard]] bool isOf(GameObject object) const noexcept { return isAlive() && serial == object.serial(); }

    [[nodiscard]] std::uint8_t flags() const noexcept { return m_state & FLAGS; }
    void setFlags(std::uint8_t flags) noexcept { m_state = static_cast<std::uint8_t>((m_state & ~FLAGS) | flags); }

    /// Whether the object becomes active when its parent is activated.
    [[nodiscard]] bool isEnabled() const noexcept { return (m_state & ENABLED) != 0; }
    void setEnabled(bool isEnabled) noexcept { set(ENABLED, isEnabled); }

    [[nodiscard]] bool isActive() const noexcept { return (m_state & ACTIVE) != 0; }
    void setActive(bool isActive) noexcept { set(ACTIVE, isActive); }

private:
    static constexpr std::uint8_t FLAGS = 0x3F;
    static constexpr std::uint8_t ENABLED = 0x40;
    static constexpr std::uint8_t ACTIVE = 0x80;

    void set(std::uint8_t bit, bool isSet) noexcept {
        m_state = static_cast<std::uint8_t>(isSet ? m_state | bit : m_state & ~bit);
    }

    /// The state flags are the lower six bits.
    std::uint8_t m_state = 0;
};

static_assert(sizeof(GameObjectRecord) == 80);

/// The table of a world's game objects. Records never move. Freed indices are reused in the order in which they were
/// freed.
class GameObjectTable : NonCopyable {
public:
    explicit GameObjectTable(int worldId) : m_worldId(worldId) {}
    ~GameObjectTable();

    GameObject create();

    /// Frees the record. The caller must have removed the components.
    void free(ObjectIndex index);

    [[nodiscard]] GameObjectRecord& operator[](ObjectIndex index) noexcept {
        return m_chunks[index / CHUNK_SIZE].get()[index % CHUNK_SIZE];
    }

    /// Null when the handle belongs to another world or its object no longer exists.
    [[nodiscard]] GameObjectRecord* find(GameObject object) noexcept {
        if (object.getWorldId() != m_worldId || object.index() >= m_size) {
            return nullptr;
        }
        GameObjectRecord& record = (*this)[object.index()];
        return record.isOf(object) ? &record : nullptr;
    }

    [[nodiscard]] GameObject handle(ObjectIndex index) noexcept { return {m_worldId, index, (*this)[index].serial}; }

    /// Number of indices that have ever been in use; every index is below it.
    [[nodiscard]] ObjectIndex size() const noexcept { return m_size; }
    [[nodiscard]] std::size_t aliveCount() const noexcept { return m_aliveCount; }

    /// Serial of the object created last; 0 before the first.
    [[nodiscard]] std::uint64_t lastSerial() const noexcept { return m_lastSerial; }

private:
    static constexpr ObjectIndex CHUNK_SIZE = 1024;

    /// Uninitialized storage; each record is constructed when its index is first used, so that memory is not touched
    /// before it is needed.
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
