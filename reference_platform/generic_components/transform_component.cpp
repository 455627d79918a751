#include <generic_components/transform_component.h>

#include <object_serialization/component_registration.h>

namespace Kiln::Tessel {

TransformComponent::~TransformComponent() = default;

namespace {

const ComponentRegistration<TransformComponent> s_registration("TransformComponent", [](auto& config) {
    config.template addProperty<&TransformComponent::Config::local>("local");
});

} // namespace

} // namespace Kiln::Tessel
