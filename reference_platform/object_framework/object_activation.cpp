#include <object_framework/object_activation.h>

namespace Kiln::Tessel {

// Inline, because most of the time of an activation is spent here.
inline void ObjectActivation::activate(ObjectIndex index, GameObjectRecord& record) const {
    record.setActive(true);
    const ComponentList& components = record.components;
    // A component that is added by the activate() of another one is activated by addComponent().
    const std::size_t count = components.size();
    for (std::size_t i = 0; i < count && i < components.size(); ++i) {
        components.component(i).activate();
        if (!record.isActive()) {
            return; // The component has deactivated or removed the object.
        }
    }
    m_queries.enterAll(index, record);
}

void ObjectActivation::activateTree(ObjectIndex root) const {
    m_tree.walk(root, [this](ObjectIndex index, GameObjectRecord& record) {
        if (record.isEnabled() && !record.isActive()) {
            activate(index, record);
        }
        return record.isActive();
    });
}

void ObjectActivation::deactivateTree(ObjectIndex root) const {
    m_tree.walk(root, [this](ObjectIndex index, GameObjectRecord& record) {
        const bool wasActive = record.isActive();
        if (wasActive) {
            deactivate(index, record);
        }
        return wasActive;
    });
}

void ObjectActivation::deactivate(ObjectIndex index, GameObjectRecord& record) const {
    m_queries.leaveAll(index, record);
    const std::uint64_t serial = record.serial;
    const ComponentList& components = record.components;
    for (std::size_t i = 0; i < components.size(); ++i) {
        components.component(i).deactivate();
    }
    if (record.serial == serial) { // No component has removed the object.
        record.setActive(false);
    }
}

} // namespace Kiln::Tessel
