#pragma once

#include <core/non_copyable.h>
#include <tessel_asset_loading/prefab_component.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>

namespace Kiln::Tessel::detail {

/// PrefabComponent::Config::hasOverrides of the shared descriptors that a creation visits. While the creation pauses,
/// other creations may set the flags, so it sets each again before it creates the component. As in a creation that does
/// not pause, the last visit of a descriptor decides, whatever the number of instances that share it.
///
/// Owner: the gathering of a creation. Refers to the descriptors, and uses those that still have an item. Threads: the
/// main thread.
class OverrideFlags : NonCopyable {
public:
    using PrefabDescriptor = ComponentDescriptor<PrefabComponent>;

    [[nodiscard]] bool empty() const noexcept { return !m_shards; }

    void store(const PrefabDescriptor& component, bool hasOverrides) {
        if (!m_shards) {
            m_shards = std::make_unique<Shards>();
        }
        (*m_shards)[shardOf(component)][&component] = hasOverrides;
    }

    /// Sets the stored flag in the descriptor.
    void restore(PrefabDescriptor& component) const {
        if (m_shards) {
            const Shard& shard = (*m_shards)[shardOf(component)];
            if (const auto found = shard.find(&component); found != shard.end()) {
                component.setState(&PrefabComponent::Config::hasOverrides, found->second);
            }
        }
    }

    /// False when there is none.
    bool removeOne() noexcept {
        for (; m_shards && m_releasedShards < SHARDS; ++m_releasedShards) {
            Shard& shard = (*m_shards)[m_releasedShards];
            if (!shard.empty()) {
                shard.erase(shard.begin());
                return true;
            }
        }
        return false;
    }

private:
    // Several small tables, so that the growth of one takes only a few microseconds.
    static constexpr std::size_t SHARDS = 64;
    using Shard = std::unordered_map<const PrefabDescriptor*, bool>;
    using Shards = std::array<Shard, SHARDS>;

    [[nodiscard]] static std::size_t shardOf(const PrefabDescriptor& component) noexcept {
        // The top six bits of a multiplicative hash (Knuth), which depend on all bits of the address.
        return static_cast<std::size_t>(
            (static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&component)) * 0x9E3779B97F4A7C15ULL) >> 58);
    }

    std::unique_ptr<Shards> m_shards; ///< Null before the first flag.
    std::size_t m_releasedShards = 0; ///< Number of shards that removeOne() has emptied.
};

} // namespace Kiln::Tessel::detail
