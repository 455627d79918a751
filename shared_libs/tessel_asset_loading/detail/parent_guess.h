#pragma once

#include <object_framework/link_config.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <cstddef>
#include <vector>

namespace Kiln::Tessel {

/// Finds out which item is another one's parent without a search, if the items come as files have them: next to each
/// other, the children of one parent; after them, those of the item that follows the parent (breadth first) or the
/// children of the last of them (depth first). What it finds is certain; what it does not find has to be looked up.
///
/// Refers to the items. To be asked for one item after the other.
class ParentGuess {
public:
    using Items = std::vector<GameObjectPrefab::GameObjectCreationItem>;

    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    explicit ParentGuess(const Items& items) noexcept : m_items(items) {}

    /// The item that became the parent of item number `child`, or NONE.
    [[nodiscard]] std::size_t find(std::size_t child) noexcept {
        const GameObjectLink* const link = m_items[child].descriptor->parentLink();
        if (!link || link->isLiveUuid()) {
            return NONE;
        }
        for (const std::size_t candidate : {m_last, m_last + 1, child - 1}) {
            if (candidate < m_items.size() && m_items[candidate].descriptor->uuid() == link->uuid() &&
                m_items[candidate].instanceUuid == m_items[child].instanceUuid) {
                m_last = candidate;
                return candidate;
            }
        }
        return NONE;
    }

private:
    const Items& m_items;
    std::size_t m_last = 0; ///< The parent found last.
};

} // namespace Kiln::Tessel
