// A host in which every component type id is taken when it loads the module. Argument: the directory of the libraries.
// Errors are reported on stderr with exit status 3; otherwise it prints the log.

#include <core/log.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <object_serialization/component_library.h>
#include <reflection/meta_object.h>

#include "plugin_loading.h"

#include <cstdio>
#include <string>
#include <tuple>
#include <typeinfo>
#include <utility>

namespace {

using namespace Kiln;
using namespace Kiln::BoundaryTests;
using Tessel::EntryPoint;
using Tessel::GameObject;

constexpr int MAX_TYPES = Tessel::IComponent::MAX_TYPES;

template <int>
struct Filler {};

template <int... NUMBERS>
void fillTypesLibrary(std::integer_sequence<int, NUMBERS...>) {
    for (const std::type_info* const type : {&typeid(Filler<NUMBERS>)...}) {
        Tessel::IComponent::types().registerType(*type);
    }
}

[[nodiscard]] std::string& textAt(const mirra::ReflectedObject& object, std::size_t property) {
    return *object.propertyAt(property).get().get<std::string>();
}

/// Adds a PrefabComponent of that resource to a new object.
void requireComponent(Tessel::World& world, const std::string& resource) {
    const ComponentLibrary& library = ComponentLibrary::instance();
    const SmartPointer<IComponentDescriptor> descriptor =
        library.componentMeta(library.findComponent("PrefabComponent")).factory();
    textAt(descriptor->configuration(), 0) = resource;
    const GameObject object = world.manager().createGameObject();

    Tessel::IComponent* const component = descriptor->createOnObject(object);

    require(component != nullptr, "the component was not made");
    require(component->type() == MAX_TYPES, "the component has an id of its own");
    require(world.manager().findComponent(object, MAX_TYPES) == component, "the component is not found");
    mirra::ReflectedObject reflected;
    reflected.init(*descriptor->metaType(), dynamic_cast<void*>(component));
    require(textAt(reflected, 0) == resource, "the construction did not go on");
}

} // namespace

int main(int argumentsCount, char** arguments) {
    require(argumentsCount == 2, "usage: boundary_full_registry_host <libraries>");
    const ScopedLogSink sink([](const LogMessage& message) {
        std::printf("[%d] '%s' %s %s\n", message.severity, std::string(message.category).c_str(),
                    std::string(message.source).c_str(), std::string(message.text).c_str());
    });
    Tessel::World& world = *EntryPoint::instance().findValidWorld(EntryPoint::instance().createWorld());
    std::ignore =
        openLibrary(arguments[1], "libkiln_generic_components.so"); // Loaded first, so that its component gets an id.
    fillTypesLibrary(std::make_integer_sequence<int, MAX_TYPES>());

    std::ignore = openLibrary(arguments[1], "libkiln_tessel_asset_loading.so");
    std::puts("loaded");

    requireComponent(world, "lamp.prefab");
    requireComponent(world, "crane.prefab");
    require(Tessel::IComponent::types().typesCount() == MAX_TYPES, "the library took in another type");
    return 0;
}
