#include <tessel_asset_loading/object_loaded_callback.h>

namespace Kiln {

IObjectLoadedCallback::IObjectLoadedCallback() = default;
IObjectLoadedCallback::IObjectLoadedCallback(const IObjectLoadedCallback&) = default;
IObjectLoadedCallback& IObjectLoadedCallback::operator=(const IObjectLoadedCallback&) = default;
IObjectLoadedCallback::~IObjectLoadedCallback() = default;

bool IObjectLoadedCallback::onPreactivate(Tessel::GameObject /*root*/, Tessel::GameObjectManager& /*manager*/) {
    return true;
}

} // namespace Kiln
