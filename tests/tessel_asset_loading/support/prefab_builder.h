#pragma once

#include <generic_components/transform_component.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <object_serialization/typed_component_descriptor.h>
#include <support/prefab_text.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/prefab_component.h>

#include <bitset>
#include <memory>
#include <string>
#include <utility>

namespace Kiln::TestSupport {

/// A node without components.
[[nodiscard]] inline SmartPointer<GameObjectDescriptor> makeNode(const Uuid& uuid, std::string name = {},
                                                                 std::bitset<6> flags = {}) {
    SmartPointer<GameObjectDescriptor> node = makeSmart<GameObjectDescriptor>();
    node->setUuid(uuid);
    node->setName(std::move(name));
    node->setFlags(flags);
    return node;
}

/// Adds a component as reading a document does: the configuration becomes the prefab's own values.
template <class T>
ComponentDescriptor<T>& addComponent(GameObjectDescriptor& node, typename T::Config config = {}) {
    const std::size_t componentId = ComponentLibrary::instance().findComponent(typeid(T));
    SmartPointer<ComponentDescriptor<T>> component =
        staticPointerCast<ComponentDescriptor<T>>(ComponentLibrary::instance().createDescriptor(componentId));
    component->config() = std::move(config);
    component->storePrefabProperties();
    node.addComponent(component);
    return *component;
}

/// The descriptor of a component that the node has.
template <class T>
[[nodiscard]] ComponentDescriptor<T>& findDescriptor(const GameObjectDescriptor& node) {
    return static_cast<ComponentDescriptor<T>&>(*node.findComponent(Tessel::NativeComponent<T>::getType()));
}

/// Builds prefabs in memory, node by node; `with` adds a component to the last node.
///
///     PrefabBuilder lamp;
///     lamp.root(id(1), "Lamp").child(id(2), "Bulb", id(1)).with<TagComponent>({"bright", {}});
///     lamp.nested(id(3), "Switch", id(1), "props/switch.prefab");
///     Tessel::GameObjectPrefab prefab = lamp.build();
class PrefabBuilder {
public:
    /// Adds the node unchanged.
    PrefabBuilder& node(SmartPointer<GameObjectDescriptor> descriptor) {
        m_last = descriptor;
        m_prefab.addGameObject(std::move(descriptor));
        return *this;
    }

    PrefabBuilder& root(const Uuid& uuid, std::string name = {}, std::bitset<6> flags = {}) {
        return node(makeNode(uuid, std::move(name), flags));
    }

    PrefabBuilder& child(const Uuid& uuid, std::string name, const Uuid& parent, std::bitset<6> flags = {}) {
        node(makeNode(uuid, std::move(name), flags));
        return with<Tessel::HierarchyComponent>({Tessel::GameObjectLink(parent)});
    }

    /// An integration point.
    PrefabBuilder& nested(const Uuid& uuid, std::string name, const Uuid& parent, std::string resource,
                          std::string overridesData = {}, std::bitset<6> flags = {}) {
        child(uuid, std::move(name), parent, flags);
        return with<Tessel::PrefabComponent>({std::move(resource), std::move(overridesData)});
    }

    template <class T>
    PrefabBuilder& with(typename T::Config config = {}) {
        addComponent<T>(*m_last, std::move(config));
        return *this;
    }

    /// The descriptor of the node that was added last.
    [[nodiscard]] GameObjectDescriptor& last() { return *m_last; }

    /// A prefab that shares the descriptors with this builder.
    [[nodiscard]] Tessel::GameObjectPrefab build() const { return m_prefab; }
    [[nodiscard]] std::unique_ptr<Tessel::GameObjectPrefab> buildUnique() const {
        return std::make_unique<Tessel::GameObjectPrefab>(m_prefab);
    }

private:
    Tessel::GameObjectPrefab m_prefab;
    SmartPointer<GameObjectDescriptor> m_last;
};

} // namespace Kiln::TestSupport
