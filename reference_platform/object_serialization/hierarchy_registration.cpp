#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_registration.h>

namespace Kiln {

namespace {

const ComponentRegistration<Tessel::HierarchyComponent> s_registration("HierarchyComponent", [](auto& config) {
    config.template addProperty<&Tessel::HierarchyComponent::Config::parent>("parent");
});

} // namespace

} // namespace Kiln
