#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kiln::Tessel {
struct DescriptorCacheData;
}

namespace Kiln::Tessel::detail {

/// 64-bit FNV-1a (Fowler, Noll, Vo) over the bytes of a path.
struct PathHash {
    [[nodiscard]] constexpr std::size_t operator()(std::string_view path) const noexcept {
        std::uint64_t hash = 0xcbf29ce484222325ULL;
        for (const char byte : path) {
            hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3ULL;
        }
        return hash;
    }
};

/// The map of the prefab cache: entries by path, compared byte for byte.
///
/// A claimed entry is one whose document users of the service may refer to by a plain pointer until the cache is
/// cleared. One that is replaced is retired: it is kept beside the map until its path is cleared.
///
/// Threads: every operation is atomic. The lock inside guards the map alone and is held for one operation; no other
/// lock is taken under it. It lets the main thread read the map without waiting for the service's cache mutex, which
/// workers hold while they parse.
class PrefabCache : NonCopyable {
public:
    using Entry = SmartPointer<DescriptorCacheData>;

    /// Whether an operation claims the entry that it returns.
    enum class Purpose { SHARE, CLAIM };

    PrefabCache();
    ~PrefabCache();

    /// Null when the path has no entry.
    [[nodiscard]] Entry find(const std::string& path, Purpose purpose = Purpose::SHARE) const;

    /// Adds the entry unless the path has one. Returns the path's entry and whether it is the new one.
    std::pair<Entry, bool> insert(const std::string& path, SmartPointer<DescriptorCacheData> entry,
                                  Purpose purpose = Purpose::SHARE);

    /// Makes `entry` the path's entry. A claimed entry that it replaces is retired.
    void replace(const std::string& path, SmartPointer<DescriptorCacheData> entry);

    /// Erases the path's entry and its retired ones.
    void erase(const std::string& path);

    /// Erases the path's entry if it is this one and is not claimed. Returns whether it did.
    bool erase(const std::string& path, const DescriptorCacheData& entry);

    void clear();

    /// A copy of the map's content, in its iteration order.
    [[nodiscard]] std::vector<std::pair<std::string, Entry>> entries() const;

private:
    mutable std::mutex m_mutex; ///< Guards the maps.
    std::unordered_map<std::string, Entry, PathHash> m_entries{8};
    std::unordered_map<std::string, std::vector<Entry>, PathHash> m_retired; ///< Claimed entries that were replaced.
};

} // namespace Kiln::Tessel::detail
