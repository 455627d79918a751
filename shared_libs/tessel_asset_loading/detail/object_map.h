#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <object_framework/game_object.h>

#include <unordered_map>
#include <utility>
#include <vector>

namespace Kiln::Tessel {

using ObjectsByUuid = std::unordered_map<Uuid, GameObject>;

/// Nodes of maps that are no longer needed, for those of later creations: most nodes are neither allocated nor given
/// back. One store per thread; in practice the main thread's.
class SpareNodes : NonCopyable {
public:
    [[nodiscard]] static SpareNodes& ofThisThread();

    /// ObjectsByUuid::try_emplace.
    std::pair<ObjectsByUuid::iterator, bool> emplace(ObjectsByUuid& map, const Uuid& uuid, GameObject object);

    /// Takes all nodes of a map that has less than MOST, and empties it.
    void takeFrom(ObjectsByUuid& map);

    /// How many are kept. They take 48 bytes each.
    static constexpr std::size_t MOST = 4096;

private:
    std::vector<ObjectsByUuid::node_type> m_nodes;
};

/// At the end of its scope, disposes of a map: keeps its nodes for later ones, or has a large map taken apart by a
/// worker: its nodes are scattered over memory, and giving them back takes longer than entering them.
class MapDisposal : NonCopyable {
public:
    explicit MapDisposal(ObjectsByUuid& map) noexcept : m_map(map) {}
    ~MapDisposal();

private:
    ObjectsByUuid& m_map;
};

} // namespace Kiln::Tessel
