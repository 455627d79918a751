#include <tessel_asset_loading/unknown_components.h>

#include <tessel_asset_loading/game_object_prefab/unknown_component_report.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

namespace Kiln::Tessel {

namespace {

/// Types and files come from files, so the memory for them is limited.
constexpr std::size_t MAX_REPORTED = 10'000;

struct CurrentHandler {
    std::mutex mutex; ///< Guards the members below. No other lock is taken under it.
    std::shared_ptr<const UnknownComponentHandler> handler;
    std::set<std::pair<std::string, std::string>> reported; ///< Types and paths that the handler has heard of.
};

/// Never destroyed: workers may still parse while the process exits.
CurrentHandler& currentHandler() {
    static CurrentHandler* const current = new CurrentHandler;
    return *current;
}

} // namespace

std::string UnknownComponents::text() const {
    std::string text = path;
    text += ": no library has registered the component '";
    text += type;
    text += "'; its instances are left out";
    return text;
}

void setUnknownComponentHandler(UnknownComponentHandler handler) {
    auto added = handler ? std::make_shared<const UnknownComponentHandler>(std::move(handler)) : nullptr;
    CurrentHandler& current = currentHandler();
    const std::lock_guard lock(current.mutex);
    current.handler.swap(added); // The previous one is destroyed after the lock is released.
    current.reported.clear();
}

void detail::reportUnknownComponents(const std::string& type, const std::string& path) {
    try {
        CurrentHandler& current = currentHandler();
        std::shared_ptr<const UnknownComponentHandler> handler;
        {
            const std::lock_guard lock(current.mutex);
            if (!current.handler || current.reported.size() >= MAX_REPORTED ||
                !current.reported.emplace(type, path).second) {
                return;
            }
            handler = current.handler;
        }
        (*handler)({type, path});
    } catch (...) { // NOLINT(bugprone-empty-catch): neither the host nor a lack of memory changes what is loaded.
    }
}

} // namespace Kiln::Tessel
