// The plug-in that registers LanternComponent.

#include "plugin_api_impl.h"

namespace Kiln::BoundaryTests {
namespace {

const ComponentRegistration<LanternComponent> s_registration("LanternComponent", [](auto& config) {
    config.template addProperty<&LanternComponent::Config::brightness>("brightness");
    config.template addProperty<&LanternComponent::Config::preloadMilliseconds>("preloadMilliseconds");
});

} // namespace
} // namespace Kiln::BoundaryTests
