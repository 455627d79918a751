#include <generic_components/transform_component.h>

#include <object_serialization/component_registration.h>

namespace Kiln::Tessel {

TransformComponent::~TransformComponent() = default;

namespace {

// The priorities are those of the order in which shared libraries are loaded; see hierarchy_registration.cpp.
[[gnu::init_priority(64100)]] const ComponentRegistration<TransformComponent>
    s_registration("TransformComponent",
                   [](auto& config) { config.template addProperty<&TransformComponent::Config::local>("local"); });

} // namespace

} // namespace Kiln::Tessel

// Programs that link the static library refer to it, so that the linker takes this source.
extern "C" void kilnTransformRegistration() {}
