#pragma once

#include <core/smart_pointer.h>
#include <object_framework/component_option.h>
#include <object_framework/service.h>
#include <object_serialization/component_descriptor.h>
#include <object_serialization/export.h>
#include <tessel_foundation/component.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <typeindex>

namespace Kiln {

namespace Tessel {
class GameObjectPrefab;
}

/// The registration of a component type.
struct ComponentRecord {
    Tessel::ComponentTypeId typeId = 0;                   ///< Id in IComponent::types().
    std::type_index type = typeid(void);                  ///< The component class.
    std::string displayName;                              ///< What editors show.
    std::string name;                                     ///< What files store.
    std::string category;                                 ///< Under which editors list the type.
    Tessel::ComponentOptions options = Tessel::ALL_ROLES; ///< The roles that use the type.
    bool isUserAddable = true;                            ///< Editors offer the type for any game object.
    bool isStorable = true;                               ///< Instances are part of saved prefabs.
    std::uint32_t version = 0;                            ///< Version in which the component's data is written.
    std::shared_ptr<void> extraData;                      ///< Data that the registering code attaches; may be null.

    /// Makes a descriptor with a default configuration.
    std::function<SmartPointer<IComponentDescriptor>()> factory;
};

/// An instance that a creation listener processes.
struct CreatedInstance {
    Uuid instanceUuid; ///< UUID of the instance.
    UuidMap objects;   ///< Its objects by their UUIDs.
};

/// Takes part in the creation of prefab instances; main thread.
class ICreationListener {
public:
    virtual ~ICreationListener() = default;

    /// Whether the listener wants to process instances of the prefab.
    virtual bool acceptsPrefab(const Tessel::GameObjectPrefab& prefab) = 0;

    /// Processes a new instance; false removes it, and the next frame creates it again.
    virtual bool processInstance(int worldId, CreatedInstance instance) = 0;
};

/// The component types that can be stored in prefabs, by component type id. A service of the framework.
///
/// Ids are those of IComponent::types(); some may have no record. Types are added while libraries are loaded and are
/// never removed. Threads: lookups from any thread, also while types are added; the listener belongs to the main
/// thread.
class KILN_OBJECT_SERIALIZATION_EXPORT ComponentLibrary : public Tessel::IService {
public:
    /// The result of findComponent() when there is no such type.
    static constexpr std::size_t INVALID_ID = static_cast<std::size_t>(-1);

    /// The process's library, which is registered with the entry point.
    static ComponentLibrary& instance();

    ComponentLibrary();
    ~ComponentLibrary() override;

    void init() override {}
    void fini() override {}
    void tick() override {}
    void postTick() override {}
    void onWorldDestroyed(int /*worldId*/) override {}

    /// Adds a type. A second record of a type id or name is refused with an error in the log.
    void append(ComponentRecord record);

    /// Upper bound of the ids, not the number of records: every id is below it, and some may have no record.
    [[nodiscard]] std::size_t componentsCount() const;

    /// Registered name; empty for an id without record.
    [[nodiscard]] std::string componentName(std::size_t id) const;

    /// @{
    /// INVALID_ID when there is none.
    [[nodiscard]] std::size_t findComponent(std::string_view name) const;
    [[nodiscard]] std::size_t findComponent(const std::type_info& type) const;
    /// @}

    /// The record, whose address never changes. Throws std::runtime_error for an id without record.
    [[nodiscard]] const ComponentRecord& componentMeta(std::size_t id) const;

    /// A new, default descriptor; null when the id has no record or its factory yields none.
    [[nodiscard]] SmartPointer<IComponentDescriptor> createDescriptor(std::size_t id) const;

    /// The listener is not owned; null for none.
    void setCreationListener(ICreationListener* listener) noexcept { m_creationListener = listener; }
    /// The listener that was set; null when there is none.
    [[nodiscard]] ICreationListener* creationListener() const noexcept { return m_creationListener; }

private:
    struct State;
    std::unique_ptr<State> m_state;
    ICreationListener* m_creationListener = nullptr;
};

} // namespace Kiln
