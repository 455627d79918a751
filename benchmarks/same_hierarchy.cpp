#include "same_hierarchy.h"

#include "cargo_component.h"
#include "floor.h"
#include "kiln_runs.h"

#include <generic_components/transform_component.h>
#include <tessel_asset_loading/prefab_component.h>

#include <map>
#include <stdexcept>

namespace Kiln::Benchmarks {

namespace {

/// The properties of an object that must be equal.
struct Described {
    std::string name;
    Uuid parent; ///< Zero for the root.
    bool isActive = false;
    Matrix local;
    std::string label;
    float mass = 0;
    float volume = 0;
    std::string resource;
    Uuid instance;

    bool operator==(const Described&) const = default;
};

using Hierarchy = std::map<Uuid, Described>;

[[nodiscard]] Hierarchy describe(const KilnWorld& world) {
    const Tessel::GameObjectManager& manager = world.manager();
    Hierarchy hierarchy;
    for (const Tessel::GameObject object : manager.gameObjects()) {
        Described& described = hierarchy[manager.getGameObjectUuid(object)];
        described.name = manager.getGameObjectName(object);
        described.parent = manager.getGameObjectUuid(manager.getParent(object));
        described.isActive = manager.isActive(object);
        described.local = manager.findComponent<Tessel::TransformComponent>(object)->local;
        if (const auto* const cargo = manager.findComponent<CargoComponent>(object)) {
            described.label = cargo->config.label;
            described.mass = cargo->config.mass;
            described.volume = cargo->config.volume;
        }
        if (const auto* const reference = manager.findComponent<Tessel::PrefabComponent>(object)) {
            described.resource = reference->resource();
            described.instance = reference->instanceUuid();
        }
    }
    return hierarchy;
}

[[nodiscard]] Hierarchy describe(FloorWorld& world) {
    Hierarchy hierarchy;
    for (std::size_t i = 0; i < world.objects().size(); ++i) {
        const FloorObject& object = world.objects().at(i);
        Described& described = hierarchy[object.uuid];
        described.name = object.name;
        described.parent = object.parent == FloorObject::NONE ? Uuid::ZERO : world.objects().at(object.parent).uuid;
        described.isActive = object.isActive;
        for (std::size_t slot = 0; slot < object.componentsCount; ++slot) {
            described.isActive = described.isActive && object.components[slot]->isActive();
            if (const auto* const transform = dynamic_cast<const FloorTransform*>(object.components[slot])) {
                described.local = transform->local;
            } else if (const auto* const cargo = dynamic_cast<const FloorCargo*>(object.components[slot])) {
                described.label = cargo->label;
                described.mass = cargo->mass;
                described.volume = cargo->volume;
            } else if (const auto* const reference = dynamic_cast<const FloorReference*>(object.components[slot])) {
                described.resource = reference->resource;
                described.instance = reference->instance;
            }
        }
    }
    return hierarchy;
}

} // namespace

void expectSameHierarchy(const Workload& workload) {
    cache(workload.path);
    KilnWorld world;
    const Uuid instance = Uuid::generate();
    world.create(workload.path, instance);
    const Hierarchy expected = describe(world);

    for (const auto create : {&FloorWorld::createPlain, &FloorWorld::createBest}) {
        FloorWorld floor;
        (floor.*create)(workload, instance);
        if (describe(floor) != expected) {
            throw std::runtime_error(workload.name + ": the floor creates another hierarchy than the library");
        }
    }
}

} // namespace Kiln::Benchmarks
