#include <tessel_asset_loading/prefab_component/service/prefab_cache.h>

#include <tessel_asset_loading/prefab_service_records.h>

namespace Kiln::Tessel::detail {

namespace {

/// With the lock of the map.
void claim(DescriptorCacheData& entry) noexcept {
    entry.isClaimed.store(true, std::memory_order_relaxed);
}

[[nodiscard]] bool isClaimed(const DescriptorCacheData& entry) noexcept {
    return entry.isClaimed.load(std::memory_order_relaxed);
}

} // namespace

PrefabCache::PrefabCache() = default;
PrefabCache::~PrefabCache() = default;

PrefabCache::Entry PrefabCache::find(const std::string& path, Purpose purpose) const {
    const std::scoped_lock lock(m_mutex);
    const auto found = m_entries.find(path);
    if (found == m_entries.end()) {
        return nullptr;
    }
    if (purpose == Purpose::CLAIM) {
        claim(*found->second);
    }
    return found->second;
}

std::pair<PrefabCache::Entry, bool> PrefabCache::insert(const std::string& path,
                                                        SmartPointer<DescriptorCacheData> entry, Purpose purpose) {
    const std::scoped_lock lock(m_mutex);
    const auto [position, isNew] = m_entries.try_emplace(path, std::move(entry));
    if (purpose == Purpose::CLAIM) {
        claim(*position->second);
    }
    return {position->second, isNew};
}

// In the following functions, documents are destroyed after the lock is released.

void PrefabCache::replace(const std::string& path, SmartPointer<DescriptorCacheData> entry) {
    const std::scoped_lock lock(m_mutex);
    Entry& current = m_entries[path];
    if (current && current != entry && isClaimed(*current)) {
        m_retired[path].push_back(current);
    }
    std::swap(current, entry); // The parameter outlives the lock.
}

void PrefabCache::erase(const std::string& path) {
    decltype(m_entries)::node_type erased;
    decltype(m_retired)::node_type erasedRetired;
    const std::scoped_lock lock(m_mutex);
    erased = m_entries.extract(path);
    erasedRetired = m_retired.extract(path);
}

bool PrefabCache::erase(const std::string& path, const DescriptorCacheData& entry) {
    decltype(m_entries)::node_type erased;
    const std::scoped_lock lock(m_mutex);
    const auto found = m_entries.find(path);
    if (found == m_entries.end() || found->second.get() != &entry || isClaimed(entry)) {
        return false;
    }
    erased = m_entries.extract(found);
    return true;
}

void PrefabCache::clear() {
    decltype(m_entries) erased;
    decltype(m_retired) erasedRetired;
    const std::scoped_lock lock(m_mutex);
    erased.swap(m_entries);
    erasedRetired.swap(m_retired);
}

std::vector<std::pair<std::string, PrefabCache::Entry>> PrefabCache::entries() const {
    const std::scoped_lock lock(m_mutex);
    return {m_entries.begin(), m_entries.end()};
}

} // namespace Kiln::Tessel::detail
