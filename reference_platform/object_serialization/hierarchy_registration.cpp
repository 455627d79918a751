#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_registration.h>

namespace Kiln {

namespace {

// In a program that links this library statically, this registration and those of the other libraries precede the
// static objects without a priority, and follow each other by priority as they do when shared libraries are loaded.
[[gnu::init_priority(64000)]] const ComponentRegistration<Tessel::HierarchyComponent>
    s_registration("HierarchyComponent", [](auto& config) {
        config.template addProperty<&Tessel::HierarchyComponent::Config::parent>("parent");
    });

} // namespace

} // namespace Kiln

// Programs that link the static library refer to it, so that the linker takes this source.
extern "C" void kilnHierarchyRegistration() {}
