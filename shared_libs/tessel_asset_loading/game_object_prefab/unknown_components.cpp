#include <tessel_asset_loading/unknown_components.h>

#include <tessel_asset_loading/game_object_prefab/unknown_component_report.h>

#include <memory>
#include <mutex>
#include <set>
#include <utility>

namespace Kiln::Tessel {

namespace {

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
    CurrentHandler& current = currentHandler();
    std::shared_ptr<const UnknownComponentHandler> handler;
    {
        const std::lock_guard lock(current.mutex);
        if (!current.handler || !current.reported.emplace(type, path).second) {
            return;
        }
        handler = current.handler;
    }
    try {
        (*handler)({type, path});
    } catch (...) { // NOLINT(bugprone-empty-catch): a function of the host does not change what is loaded.
    }
}

} // namespace Kiln::Tessel
