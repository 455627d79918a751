#include <tessel_asset_loading/prefab_component/service/prefab_cache.h>

#include <tessel_asset_loading/prefab_service_records.h>

namespace Kiln::Tessel::detail {

PrefabCache::PrefabCache() = default;
PrefabCache::~PrefabCache() = default;

PrefabCache::Entry PrefabCache::find(const std::string& path) const {
    const std::scoped_lock lock(m_mutex);
    const auto found = m_entries.find(path);
    return found == m_entries.end() ? nullptr : found->second;
}

std::pair<PrefabCache::Entry, bool> PrefabCache::insert(const std::string& path,
                                                        SmartPointer<DescriptorCacheData> entry) {
    const std::scoped_lock lock(m_mutex);
    const auto [position, isNew] = m_entries.try_emplace(path, std::move(entry));
    return {position->second, isNew};
}

// Documents are destroyed after the lock is released.

void PrefabCache::erase(const std::string& path) {
    decltype(m_entries)::node_type erased;
    const std::scoped_lock lock(m_mutex);
    erased = m_entries.extract(path);
}

void PrefabCache::clear() {
    decltype(m_entries) erased;
    const std::scoped_lock lock(m_mutex);
    erased.swap(m_entries);
}

std::vector<std::pair<std::string, PrefabCache::Entry>> PrefabCache::entries() const {
    const std::scoped_lock lock(m_mutex);
    return {m_entries.begin(), m_entries.end()};
}

} // namespace Kiln::Tessel::detail
