#include <tessel_asset_loading/prefab_limits.h>

#include <mutex>

namespace Kiln::Tessel {

namespace {

struct CurrentLimits {
    std::mutex mutex; ///< Guards limits. No other lock is taken under it.
    PrefabLimits limits;
};

/// Never destroyed: workers may still parse while the process exits.
CurrentLimits& currentLimits() {
    static CurrentLimits* const current = new CurrentLimits;
    return *current;
}

} // namespace

PrefabLimits prefabLimits() {
    const std::lock_guard lock(currentLimits().mutex);
    return currentLimits().limits;
}

void setPrefabLimits(const PrefabLimits& limits) {
    const std::lock_guard lock(currentLimits().mutex);
    currentLimits().limits = limits;
}

} // namespace Kiln::Tessel
