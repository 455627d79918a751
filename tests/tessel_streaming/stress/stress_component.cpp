#include "stress_component.h"

#include <object_serialization/component_registration.h>

namespace Kiln::StreamingStress {

namespace {

const ComponentRegistration<StressComponent> s_registration("StressComponent", [](auto& config) {
    config.template addProperty<&StressComponent::Config::request>("request");
    config.template addProperty<&StressComponent::Config::colour>("colour");
});

} // namespace

} // namespace Kiln::StreamingStress
