#pragma once

#include <core/safe_reference_count.h>
#include <object_framework/game_object.h>
#include <tessel_asset_loading/export.h>

namespace Kiln {

/// Receives the root of a hierarchy that the prefab service has loaded. Reference counted; the service holds it from
/// the request until postTick of the frame that creates the root. All operations run on the main thread, once per load.
class KILN_TESSEL_ASSET_LOADING_EXPORT IObjectLoadedCallback : public SafeReferenceCount {
public:
    IObjectLoadedCallback();
    /// @{
    /// For derived classes; a copy has a count of its own.
    IObjectLoadedCallback(const IObjectLoadedCallback&);
    IObjectLoadedCallback& operator=(const IObjectLoadedCallback&);
    /// @}
    ~IObjectLoadedCallback() override;

    /// Called when the objects and components exist, before the root is activated; only for a root that is active by
    /// default. Returns whether to activate it.
    virtual bool onPreactivate(Tessel::GameObject root, Tessel::GameObjectManager& manager);

    /// Called at the end of the tick that created the root.
    virtual void onObjectLoaded(Tessel::GameObject root, Tessel::GameObjectManager& manager) = 0;

    /// Called in postTick of the same frame.
    virtual void onObjectLoadedIntoHierarchy(Tessel::GameObject root, Tessel::GameObjectManager& manager) = 0;

    /// Releases the function that onObjectLoaded calls. The service never calls this.
    virtual void releaseCallback() = 0;
};

} // namespace Kiln
