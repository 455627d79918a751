#include <object_serialization/game_object_descriptor.h>

#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <object_framework/world.h>
#include <object_serialization/override_records.h>
#include <object_serialization/typed_component_descriptor.h>

namespace Kiln {

GameObjectDescriptor::GameObjectDescriptor() = default;
GameObjectDescriptor::~GameObjectDescriptor() = default;

bool GameObjectDescriptor::isInactiveByDefault() const noexcept {
    return (m_flags & Tessel::GameObjectFlag::INACTIVE_BY_DEFAULT).any();
}

IComponentDescriptor* GameObjectDescriptor::findComponent(Tessel::ComponentTypeId type) const noexcept {
    for (const SmartPointer<IComponentDescriptor>& component : m_components) {
        if (component->type() == type) {
            return component.get();
        }
    }
    return nullptr;
}

IComponentDescriptor* GameObjectDescriptor::findComponent(std::string_view name) const noexcept {
    for (const SmartPointer<IComponentDescriptor>& component : m_components) {
        if (component->name() == name) {
            return component.get();
        }
    }
    return nullptr;
}

void GameObjectDescriptor::addComponent(SmartPointer<IComponentDescriptor> component) {
    if (component) {
        m_components.push_back(std::move(component));
    }
}

Tessel::GameObject GameObjectDescriptor::createGameObject(int worldId) const {
    Tessel::World* const world = Tessel::EntryPoint::instance().findValidWorld(worldId);
    if (!world) {
        return Tessel::GameObject::INVALID_GAME_OBJECT;
    }
    if (isNestedRoot()) {
        world->manager().noteNestedRoot(m_uuid);
    }
    return world->manager().createGameObject();
}

// The descriptor that stands for a nested prefab's root is the only one whose parent is given as a live UUID.
bool GameObjectDescriptor::isNestedRoot() const noexcept {
    using Hierarchy = Tessel::HierarchyComponent;
    const auto* const hierarchy = static_cast<const ComponentDescriptor<Hierarchy>*>(
        findComponent(Tessel::NativeComponent<Hierarchy>::getType()));
    return hierarchy && hierarchy->config().parent.isLiveUuid();
}

void GameObjectDescriptor::createComponents(Tessel::GameObject object, const Uuid& instanceUuid, const UuidMap& uuidMap,
                                            const GameObjectOverrideRecords* overrides) const {
    Tessel::World* const world = Tessel::EntryPoint::instance().findValidWorld(object.getWorldId());
    if (!world || !world->manager().isGameObjectValid(object)) {
        return;
    }
    world->manager().setGameObjectUuid(object, Uuid::combine(instanceUuid, m_uuid));
    world->manager().setGameObjectName(object, m_name);
    world->manager().beginComponents();
    for (const SmartPointer<IComponentDescriptor>& component : m_components) {
        const ComponentOverrideRecords* const records = overrides ? overrides->find(component->name()) : nullptr;
        if (records) {
            component->setupOverrides(records);
        }
        component->resolveLinks(object, instanceUuid, uuidMap);
        component->createOnObject(object);
        if (component->isOffPrefabProperties()) {
            component->setupOverrides(nullptr);
        }
    }
}

void GameObjectDescriptor::updateStateFlags(Tessel::GameObject object) const {
    if (Tessel::GameObjectManager* const manager = Tessel::getGameObjectManager(object)) {
        manager->setGameObjectFlags(object, m_flags);
    }
}

} // namespace Kiln
