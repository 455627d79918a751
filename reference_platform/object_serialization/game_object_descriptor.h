#pragma once

#include <common/uuid.h>
#include <core/safe_reference_count.h>
#include <core/shared_text.h>
#include <core/small_tagged_vector.h>
#include <core/smart_pointer.h>
#include <object_framework/link_config.h>
#include <object_serialization/component_descriptor.h>
#include <object_serialization/export.h>

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace Kiln {

class GameObjectOverrideRecords;

/// The serialised description of one game object: UUID, name, state flags and component descriptors.
///
/// Ownership: shared; it shares its component descriptors. Threads: once a document is published, workers may call
/// const operations while the main thread creates objects; changes need exclusive access.
class KILN_OBJECT_SERIALIZATION_EXPORT GameObjectDescriptor final : public SafeReferenceCount {
public:
    GameObjectDescriptor();
    ~GameObjectDescriptor() override;

    /// @{
    /// UUID of the object in its prefab.
    [[nodiscard]] const Uuid& uuid() const noexcept { return m_uuid; }
    void setUuid(const Uuid& uuid) noexcept { m_uuid = uuid; }
    /// @}

    /// The text is null-terminated and valid until the name is set again.
    [[nodiscard]] std::string_view name() const noexcept { return m_name.view(); }
    /// The name as a text that objects made from this can share.
    [[nodiscard]] const SharedText& sharedName() const noexcept { return m_name; }
    /// @{
    /// Replaces the name; a SharedText is shared and not copied.
    void setName(std::string_view name) { m_name = SharedText(name); }
    void setName(const SharedText& name) noexcept { m_name = name; }
    /// @}

    /// @{
    /// The stored state flags, see GameObjectFlag.
    [[nodiscard]] std::bitset<6> flags() const noexcept { return m_flags; }
    void setFlags(std::bitset<6> flags) noexcept { m_flags = static_cast<std::uint8_t>(flags.to_ulong()); }
    /// @}
    /// Whether INACTIVE_BY_DEFAULT is among the flags.
    [[nodiscard]] bool isInactiveByDefault() const noexcept;

    /// Components in the order in which they were added. Valid until another one is added.
    [[nodiscard]] std::span<const SmartPointer<IComponentDescriptor>> components() const noexcept {
        return m_components.elements();
    }

    /// @{
    /// The first component of that type or registered name; null when there is none.
    [[nodiscard]] IComponentDescriptor* findComponent(Tessel::ComponentTypeId type) const noexcept {
        const std::span<const Tessel::ComponentTypeId> types = m_components.tags();
        for (std::size_t i = 0; i < types.size(); ++i) {
            if (types[i] == type) {
                return m_components[i].get();
            }
        }
        return nullptr;
    }
    [[nodiscard]] IComponentDescriptor* findComponent(std::string_view name) const noexcept;
    /// @}
    /// Whether there is a component of that type.
    [[nodiscard]] bool hasComponent(Tessel::ComponentTypeId type) const noexcept { return findComponent(type); }

    /// The current parent link of the HierarchyComponent; null for a root, which has no such component.
    [[nodiscard]] const Tessel::GameObjectLink* parentLink() const noexcept;

    /// Appends a component descriptor, which other descriptors may hold too. Null adds nothing.
    void addComponent(SmartPointer<IComponentDescriptor> component);

    /// @{
    /// Creates an empty game object in the world; the invalid object when the world is not valid. Main thread.
    [[nodiscard]] Tessel::GameObject createGameObject(int worldId) const;
    [[nodiscard]] Tessel::GameObject createGameObject(Tessel::World& world) const;
    /// @}

    /// Gives the object its UUID (combine of the instance UUID and the descriptor's) and name, then creates its
    /// components in order: with their overrides, if any, and their links resolved through `uuidMap`. Afterwards the
    /// component descriptors have the prefab's own values again. Main thread.
    void createComponents(Tessel::GameObject object, const Uuid& instanceUuid, const UuidMap& uuidMap,
                          const GameObjectOverrideRecords* overrides) const;

    /// The same as part of a creation, whose nested roots links may refer to; `objectUuid` is the UUID of the object.
    void createComponents(ObjectCreation& creation, Tessel::GameObject object, const Uuid& objectUuid,
                          const GameObjectOverrideRecords* overrides) const;

    /// @{
    /// Applies the state flags to the object. Main thread.
    void updateStateFlags(Tessel::GameObject object) const;
    void updateStateFlags(Tessel::World& world, Tessel::GameObject object) const;
    /// @}

private:
    std::uint8_t m_flags = 0; ///< A byte, where a bitset would take a word.
    Uuid m_uuid;
    SharedText m_name; ///< The objects that are made from this share it.

    /// With their types, so that a search does not read the descriptors. Most objects have at most four components.
    SmallTaggedVector<SmartPointer<IComponentDescriptor>, Tessel::ComponentTypeId, 4> m_components;
};

} // namespace Kiln
