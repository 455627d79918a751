#pragma once

#include <core/smart_pointer.h>
#include <object_framework/component_option.h>
#include <object_framework/service.h>
#include <object_serialization/component_descriptor.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <typeindex>

namespace Kiln {

namespace Tessel {
class GameObjectPrefab;
}

struct ComponentRecord {
    Tessel::ComponentTypeId typeId = 0;
    std::type_index type = typeid(void);
    std::string displayName;
    std::string name;
    std::string category;
    Tessel::ComponentOptions options = Tessel::ALL_ROLES;
    bool isUserAddable = true;
    std::uint32_t version = 0;
    std::function<SmartPointer<IComponentDescriptor>()> factory;
};

struct CreatedInstance {
    Uuid instanceUuid;
    UuidMap objects;
};

class ICreationListener {
public:
    virtual ~ICreationListener() = default;
    virtual bool acceptsPrefab(const Tessel::GameObjectPrefab& prefab) = 0;
    virtual bool processInstance(int worldId, CreatedInstance instance) = 0;
};

/// The component types that can be stored, by type id. Any thread.
class MINIMAL_API ComponentLibrary final : public Tessel::IService {
public:
    static constexpr std::size_t INVALID_ID = static_cast<std::size_t>(-1);

    static ComponentLibrary& instance();

    void init() override {}
    void fini() override {}
    void tick() override {}
    void postTick() override {}
    void onWorldDestroyed(int /*worldId*/) override {}

    void append(ComponentRecord record);
    [[nodiscard]] std::size_t componentsCount() const;
    [[nodiscard]] std::string componentName(std::size_t id) const;
    [[nodiscard]] std::size_t findComponent(std::string_view name) const;
    [[nodiscard]] std::size_t findComponent(const std::type_info& type) const;

    /// Throws std::runtime_error for an id without record.
    [[nodiscard]] const ComponentRecord& componentMeta(std::size_t id) const;
    [[nodiscard]] SmartPointer<IComponentDescriptor> createDescriptor(std::size_t id) const;

    /// This platform's hosts have no listener.
    [[nodiscard]] ICreationListener* creationListener() const { return nullptr; }

private:
    mutable std::mutex m_mutex;                       ///< Guards the map, not the records.
    std::map<std::size_t, ComponentRecord> m_records; ///< Records stay.
};

} // namespace Kiln
