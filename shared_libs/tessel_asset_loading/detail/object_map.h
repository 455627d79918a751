#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <object_serialization/object_creation.h>

#include <utility>
#include <vector>

namespace Kiln::Tessel {

/// Nodes of maps that are no longer needed, for those of later creations: most nodes are neither allocated nor given
/// back. Main thread.
class SpareNodes : NonCopyable {
public:
    /// Never destroyed: components may create objects as late as in the destructors of the last world.
    [[nodiscard]] static SpareNodes& instance();

    /// UuidMap::try_emplace.
    std::pair<UuidMap::iterator, bool> emplace(UuidMap& map, const Uuid& uuid, GameObject object);

    /// Takes the nodes of a map, as many as there is room for, and empties it.
    void takeFrom(UuidMap& map);

    /// How many are kept. They take 48 bytes each.
    static constexpr std::size_t MOST = 4096;

private:
    std::vector<UuidMap::node_type> m_nodes;
};

/// At the end of its scope, disposes of a map. It keeps the nodes of a small one for later maps. It has a large one
/// taken apart by a worker, since its nodes are scattered over memory and giving them back takes as long as entering
/// them; while one such map waits for a worker, further ones are taken apart in place.
class MapDisposal : NonCopyable {
public:
    explicit MapDisposal(UuidMap& map) noexcept : m_map(map) {}
    ~MapDisposal();

private:
    UuidMap& m_map;
};

} // namespace Kiln::Tessel
