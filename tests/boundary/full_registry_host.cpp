// A host in which every component type id is taken when it loads the module. Argument: the directory of the libraries.
// Errors are reported on stderr with exit status 3; otherwise it prints the log.

#include <core/log.h>
#include <object_framework/entry_point.h>
#include <object_framework/query.h>
#include <object_framework/world.h>
#include <object_serialization/component_library.h>
#include <reflection/meta_object.h>

#include "plugin_loading.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
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
GameObject requireComponent(Tessel::World& world, const std::string& resource) {
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
    return object;
}

/// Another class that does not fit into the registry.
class Latecomer final : public Tessel::PoolableComponent<Latecomer, Tessel::IComponent> {
public:
    std::array<std::uint64_t, 100> numbers{};
};

[[nodiscard]] std::string refusalOfStorage(Tessel::World& world) {
    try {
        std::ignore = world.getStorage<Latecomer>();
        return "";
    } catch (const std::length_error& error) {
        return error.what();
    }
}

/// A world stores one class with the shared id; the other ones neither get its storage nor its components.
void requireNoSharing(Tessel::World& world, GameObject objectWithPrefabComponent) {
    using LatecomerQuery = Tessel::Query<Latecomer, GameObject>;
    const auto query = world.manager().getQuery<LatecomerQuery>(LatecomerQuery::makeConfig(),
                                                                [] { return std::make_unique<LatecomerQuery>(); });
    world.manager().activateGameObject(objectWithPrefabComponent);
    int visits = 0;
    query->forEach([&](Latecomer&, GameObject) { ++visits; });

    require(
        refusalOfStorage(world).starts_with("Components of type '(anonymous namespace)::Latecomer' can't be stored"),
        "the storage of another type is returned");
    require(world.manager().findComponent<Latecomer>(objectWithPrefabComponent) == nullptr,
            "a component of another type is found");
    require(visits == 0, "a query visits a component of another type");
}

/// In a world of its own, the class is the first.
void requireStorageInAnotherWorld() {
    Tessel::World& world = *EntryPoint::instance().findValidWorld(EntryPoint::instance().createWorld());
    const GameObject object = world.manager().createGameObject();
    auto component = world.getStorage<Latecomer>().create();
    component->numbers.back() = 7;
    world.manager().addComponent(object, std::move(component), MAX_TYPES);
    require(world.manager().findComponent<Latecomer>(object)->numbers.back() == 7, "the component is not found");
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
    const GameObject object = requireComponent(world, "crane.prefab");
    requireNoSharing(world, object);
    requireStorageInAnotherWorld();
    require(Tessel::IComponent::types().typesCount() == MAX_TYPES, "the library took in another type");
    return 0;
}
