#include "cargo_component.h"

#include <object_serialization/component_registration.h>

namespace Kiln::Benchmarks {

namespace {

const ComponentRegistration<CargoComponent> s_registration("CargoComponent", [](auto& config) {
    config.template addProperty<&CargoComponent::Config::label>("label");
    config.template addProperty<&CargoComponent::Config::mass>("mass");
    config.template addProperty<&CargoComponent::Config::volume>("volume");
});

} // namespace

} // namespace Kiln::Benchmarks
