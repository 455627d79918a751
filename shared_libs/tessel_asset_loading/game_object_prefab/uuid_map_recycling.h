#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <object_serialization/object_creation.h>
#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/game_object_prefab/deadline.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace Kiln::Tessel::detail {

/// Keeps the nodes of discarded UUID maps and reuses them in later creations, so that most nodes are neither allocated
/// nor freed. Main thread.
class SpareNodes : NonCopyable {
public:
    /// Never destroyed: components may create objects as late as in the destructors of the last world.
    [[nodiscard]] static SpareNodes& instance();

    /// Like UuidMap::try_emplace.
    std::pair<UuidMap::iterator, bool> emplace(UuidMap& map, const Uuid& uuid, GameObject object);

    /// Takes one node out of a map that is not empty, or frees it if MAX_COUNT are kept.
    void takeOne(UuidMap& map);
    /// Takes nodes out of a map until MAX_COUNT are kept, and empties the map.
    void takeFrom(UuidMap& map);

    /// Each node takes 48 bytes.
    static constexpr std::size_t MAX_COUNT = 4096;

private:
    std::vector<UuidMap::node_type> m_nodes;
};

/// Disposes of a map at the end of a scope. The nodes of a small map are kept for later maps. A large map is freed by a
/// worker, since its nodes are scattered over memory and freeing them takes as long as entering them. While one such
/// map waits for a worker, further ones are freed in place.
class UuidMapDisposal : NonCopyable {
public:
    explicit UuidMapDisposal(UuidMap& map) noexcept : m_map(map) {}
    ~UuidMapDisposal();

private:
    UuidMap& m_map;
};

/// Disposes of a map in the same way in steps, until the deadline has passed, but does at least a part. Returns whether
/// the map is empty. Main thread.
[[nodiscard]] KILN_TESSEL_ASSET_LOADING_EXPORT bool disposeOf(UuidMap& map, const Deadline& deadline) noexcept;

} // namespace Kiln::Tessel::detail
