#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_registration.h>

namespace Kiln {

namespace {

// In a program that links this library statically, this registration, that of the transform and those of the module
// precede the static objects without a priority, and follow each other as they do when shared libraries are loaded.
[[gnu::init_priority(64000)]] const ComponentRegistration<Tessel::HierarchyComponent>
    s_registration("HierarchyComponent", [](auto& config) {
        config.template addProperty<&Tessel::HierarchyComponent::Config::parent>("parent");
    });

} // namespace

} // namespace Kiln

// Programs that link the static library refer to it, so that the linker takes this source.
extern "C" void kilnHierarchyRegistration() {}
