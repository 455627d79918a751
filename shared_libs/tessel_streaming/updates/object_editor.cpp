#include <tessel_streaming/updates/object_editor.h>

#include <core/log.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>

#include <exception>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

void report(const std::string& path, const char* what, const char* problem) noexcept {
    try {
        DebugMessageHelper(0, LogSeverity::ERROR, "", "tessel_streaming/updates")
            .message("Failed to update an instance of '%s': %s: %s", path.c_str(), what, problem);
    } catch (...) { // NOLINT(bugprone-empty-catch): a sink of the log has failed.
    }
}

} // namespace

template <class Action>
void ObjectEditor::guard(const char* what, const Action& action) const {
    try {
        action();
    } catch (const std::exception& exception) {
        report(m_path, what, exception.what());
    } catch (...) {
        report(m_path, what, "unknown exception");
    }
}

bool ObjectEditor::remove(GameObject object, ComponentTypeId type) const {
    if (GameObjectManager* const manager = getGameObjectManager(m_worldId)) {
        guard("removal of a component", [&] { manager->removeComponent(object, type); });
    }
    return isValid(object);
}

void ObjectEditor::add(GameObject object, IComponentDescriptor& component, const Uuid& instanceUuid,
                       const ComponentOverrideRecords* overrides) const {
    try {
        addChecked(object, component, instanceUuid, overrides);
    } catch (const std::exception& exception) {
        report(m_path, ("component '" + component.name() + "'").c_str(), exception.what());
    } catch (...) {
        report(m_path, ("component '" + component.name() + "'").c_str(), "unknown exception");
    }
}

void ObjectEditor::addChecked(GameObject object, IComponentDescriptor& component, const Uuid& instanceUuid,
                              const ComponentOverrideRecords* overrides) const {
    if (!overrides && !component.hasLinks()) {
        component.createOnObject(object);
        return;
    }
    World* const world = EntryPoint::instance().findValidWorld(m_worldId);
    if (!world || !world->manager().isGameObjectValid(object)) {
        return;
    }
    static const UuidMap s_none;
    ObjectCreation creation(*world, m_objects ? *m_objects : s_none, instanceUuid, m_nestedRoots);
    // Describing the object again with the UUID and name that it has yields its record.
    GameObjectManagerInternal& manager = world->manager();
    const Uuid uuid = manager.getGameObjectUuid(object);
    const SharedText name(manager.getGameObjectName(object));
    creation.enterObject(object, *manager.describeGameObject(object, uuid, name));
    component.instantiate(creation, overrides);
}

void ObjectEditor::setFlags(GameObject object, std::bitset<6> flags) const {
    GameObjectManager* const manager = getGameObjectManager(m_worldId);
    if (!manager) {
        return;
    }
    const bool wasEnabled = manager->isEnabled(object);
    const bool isDefaultChanged =
        ((manager->getGameObjectFlags(object) ^ flags) & GameObjectFlag::INACTIVE_BY_DEFAULT).any();
    manager->setGameObjectFlags(object, flags);
    if (isDefaultChanged || wasEnabled == manager->isEnabled(object)) {
        return;
    }
    // The object was activated or deactivated explicitly, so this changes only whether it is enabled.
    guard("activation", [&] {
        if (wasEnabled) {
            manager->activateGameObject(object);
        } else {
            manager->deactivateGameObject(object);
        }
    });
}

void ObjectEditor::activate(GameObject object) const {
    if (GameObjectManager* const manager = getGameObjectManager(m_worldId)) {
        guard("activation", [&] { manager->activateGameObject(object); });
    }
}

void ObjectEditor::removeObject(GameObject object) const {
    if (GameObjectManager* const manager = getGameObjectManager(m_worldId)) {
        guard("removal", [&] { manager->removeGameObject(object); });
    }
}

} // namespace Kiln::Tessel::Streaming::detail
