#include <object_serialization/game_object_descriptor.h>

#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <object_framework/world.h>
#include <object_serialization/override_records.h>
#include <object_serialization/typed_component_descriptor.h>

#include <utility>

namespace Kiln {

GameObjectDescriptor::GameObjectDescriptor() = default;
GameObjectDescriptor::~GameObjectDescriptor() = default;

bool GameObjectDescriptor::isInactiveByDefault() const noexcept {
    return (flags() & Tessel::GameObjectFlag::INACTIVE_BY_DEFAULT).any();
}

const Tessel::GameObjectLink* GameObjectDescriptor::parentLink() const noexcept {
    using Hierarchy = Tessel::HierarchyComponent;
    const auto* const hierarchy = static_cast<const ComponentDescriptor<Hierarchy>*>(
        findComponent(Tessel::NativeComponent<Hierarchy>::getType()));
    return hierarchy ? &hierarchy->config().parent : nullptr;
}

IComponentDescriptor* GameObjectDescriptor::findComponent(std::string_view name) const noexcept {
    for (const SmartPointer<IComponentDescriptor>& component : components()) {
        if (component->name() == name) {
            return component.get();
        }
    }
    return nullptr;
}

void GameObjectDescriptor::addComponent(SmartPointer<IComponentDescriptor> component) {
    if (component) {
        const Tessel::ComponentTypeId type = component->type();
        m_components.add(std::move(component), type);
    }
}

Tessel::GameObject GameObjectDescriptor::createGameObject(int worldId) const {
    Tessel::World* const world = Tessel::EntryPoint::instance().findValidWorld(worldId);
    return world ? createGameObject(*world) : Tessel::GameObject::INVALID_GAME_OBJECT;
}

Tessel::GameObject GameObjectDescriptor::createGameObject(Tessel::World& world) const {
    return world.manager().createGameObject();
}

void GameObjectDescriptor::createComponents(Tessel::GameObject object, const Uuid& instanceUuid, const UuidMap& uuidMap,
                                            const GameObjectOverrideRecords* overrides) const {
    if (Tessel::World* const world = Tessel::EntryPoint::instance().findValidWorld(object.getWorldId())) {
        ObjectCreation creation(*world, uuidMap, instanceUuid, nullptr);
        createComponents(creation, object, creation.inInstance(m_uuid), overrides);
    }
}

void GameObjectDescriptor::createComponents(ObjectCreation& creation, Tessel::GameObject object, const Uuid& objectUuid,
                                            const GameObjectOverrideRecords* overrides) const {
    Tessel::GameObjectManagerInternal& manager = creation.world().manager();
    Tessel::GameObjectRecord* const record = manager.describeGameObject(object, objectUuid, m_name);
    if (!record) {
        return;
    }
    creation.enterObject(object, *record);
    for (const SmartPointer<IComponentDescriptor>& component : components()) {
        component->instantiate(creation, overrides ? overrides->find(component->name()) : nullptr);
    }
}

void GameObjectDescriptor::updateStateFlags(Tessel::GameObject object) const {
    if (Tessel::World* const world = Tessel::EntryPoint::instance().findValidWorld(object.getWorldId())) {
        updateStateFlags(*world, object);
    }
}

void GameObjectDescriptor::updateStateFlags(Tessel::World& world, Tessel::GameObject object) const {
    world.manager().setGameObjectFlags(object, flags());
}

} // namespace Kiln
