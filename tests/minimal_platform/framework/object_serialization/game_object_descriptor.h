#pragma once

#include <common/uuid.h>
#include <core/smart_pointer.h>
#include <object_framework/link_config.h>
#include <object_serialization/component_descriptor.h>

#include <bitset>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln {

class GameObjectOverrideRecords;

class MINIMAL_API GameObjectDescriptor final : public SafeReferenceCount {
public:
    ~GameObjectDescriptor() override;

    [[nodiscard]] const Uuid& uuid() const { return m_uuid; }
    void setUuid(const Uuid& uuid) { m_uuid = uuid; }

    /// What the product hands from one descriptor to another.
    [[nodiscard]] std::string_view name() const { return m_name; }
    [[nodiscard]] const std::string& sharedName() const { return m_name; }
    void setName(std::string name) { m_name = std::move(name); }

    [[nodiscard]] std::bitset<6> flags() const { return m_flags; }
    void setFlags(std::bitset<6> flags) { m_flags = flags; }
    [[nodiscard]] bool isInactiveByDefault() const { return m_flags.test(0); }

    [[nodiscard]] const std::vector<SmartPointer<IComponentDescriptor>>& components() const { return m_components; }
    [[nodiscard]] IComponentDescriptor* findComponent(Tessel::ComponentTypeId type) const;
    [[nodiscard]] IComponentDescriptor* findComponent(std::string_view name) const;
    [[nodiscard]] bool hasComponent(Tessel::ComponentTypeId type) const { return findComponent(type) != nullptr; }
    void addComponent(SmartPointer<IComponentDescriptor> component);

    /// Of the HierarchyComponent; null without one.
    [[nodiscard]] const Tessel::GameObjectLink* parentLink() const;

    [[nodiscard]] Tessel::GameObject createGameObject(int worldId) const;
    [[nodiscard]] Tessel::GameObject createGameObject(Tessel::World& world) const;
    void createComponents(Tessel::GameObject object, const Uuid& instanceUuid, const UuidMap& uuidMap,
                          const GameObjectOverrideRecords* overrides) const;
    void createComponents(ObjectCreation& creation, Tessel::GameObject object, const Uuid& objectUuid,
                          const GameObjectOverrideRecords* overrides) const;
    void updateStateFlags(Tessel::GameObject object) const;
    void updateStateFlags(Tessel::World& world, Tessel::GameObject object) const;

private:
    Uuid m_uuid;
    std::string m_name;
    std::bitset<6> m_flags;
    std::vector<SmartPointer<IComponentDescriptor>> m_components;
};

} // namespace Kiln
