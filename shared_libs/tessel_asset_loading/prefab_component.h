#pragma once

#include <common/uuid.h>
#include <object_serialization/game_object_descriptor.h>
#include <object_serialization/typed_component_descriptor.h>
#include <tessel_asset_loading/export.h>
#include <tessel_foundation/poolable_component.h>

#include <string>

namespace Kiln::Tessel {

/// Marks the root of a prefab instance: it names the prefab that the object was created from and the overrides that
/// were applied. In a prefab, a component of this type on an object with a parent nests the named prefab there.
///
/// Owner: the block pool of its world. Threads: the main thread.
class KILN_TESSEL_ASSET_LOADING_EXPORT PrefabComponent final : public PoolableComponent<PrefabComponent, IComponent> {
public:
    /// @{
    /// Names of the reflected properties.
    static const std::string RESOURCE_PROPERTY;
    static const std::string OVERRIDES_DATA_PROPERTY;
    /// @}

    /// The stored configuration.
    struct Config {
        std::string resource;      ///< Resource path of the prefab file.
        std::string overridesData; ///< Override records of the instance, as text.
        bool hasOverrides = false; ///< The instance is overridden even if overridesData is empty; not stored.
    };

    /// Takes over the values of a configuration.
    explicit PrefabComponent(const Config& config);
    ~PrefabComponent() override;

    /// @{
    /// The values of the configuration from which the component was made.
    [[nodiscard]] const std::string& resource() const noexcept { return m_resource; }
    [[nodiscard]] const std::string& overridesData() const noexcept { return m_overridesData; }
    [[nodiscard]] bool hasOverrides() const noexcept { return m_hasOverrides; }
    /// @}

    /// @{
    /// Uuid::ZERO until the load is complete, and for objects that are not the root of a load.
    [[nodiscard]] const Uuid& instanceUuid() const noexcept { return m_instanceUuid; }
    void setInstanceUuid(const Uuid& uuid) noexcept { m_instanceUuid = uuid; }
    /// @}

private:
    std::string m_resource;
    std::string m_overridesData;
    bool m_hasOverrides;
    Uuid m_instanceUuid;
};

/// The descriptor of an object's PrefabComponent; null when it has none.
[[nodiscard]] inline ComponentDescriptor<PrefabComponent>* findPrefabDescriptor(const GameObjectDescriptor& object) {
    return static_cast<ComponentDescriptor<PrefabComponent>*>(
        object.findComponent(NativeComponent<PrefabComponent>::getType()));
}

} // namespace Kiln::Tessel

/// Does nothing; hosts call it to make sure that the module is loaded and has registered itself. Its name is not
/// mangled, so that hosts can also look it up in a library that they have loaded themselves.
extern "C" KILN_TESSEL_ASSET_LOADING_EXPORT void prefab_component();
