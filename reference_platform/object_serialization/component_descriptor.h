#pragma once

#include <common/uuid.h>
#include <core/safe_reference_count.h>
#include <object_framework/component_option.h>
#include <object_framework/game_object.h>
#include <object_framework/link_config.h>
#include <object_serialization/export.h>
#include <object_serialization/object_creation.h>
#include <reflection/reflected_object.h>
#include <tessel_foundation/component.h>
#include <variant/variant.h>

#include <string>

namespace Kiln {

class ComponentOverrideRecords;

/// The serialised description of one component: its type and its configuration.
///
/// The configuration exists twice. The prefab's own values are those that storePrefabProperties() stored last. The
/// configuration itself starts from them and may be changed by overrides or by callers until it is stored or restored.
///
/// Ownership: shared; several game-object descriptors may hold one. Threads: workers may use the prefab's own values,
/// the accessors of the type's texts and preload() while the main thread creates objects; everything else is for one
/// thread at a time.
class KILN_OBJECT_SERIALIZATION_EXPORT IComponentDescriptor : public mirra::Object, public SafeReferenceCount {
public:
    /// Category of component types that do not name one.
    static const char* const DEFAULT_CATEGORY;

    ~IComponentDescriptor() override;

    /// The component's registered name.
    [[nodiscard]] virtual const std::string& name() const = 0;

    /// "components/" followed by the name.
    [[nodiscard]] virtual const std::string& libraryPath() const = 0;

    /// The category in which editors list the type.
    [[nodiscard]] virtual const std::string& category() const = 0;

    /// Removes the object's component of this type, if it has one.
    virtual void removeFromObject(Tessel::GameObject object) = 0;

    /// A variant that holds a mirra::ReflectedObject over the configuration.
    [[nodiscard]] virtual vessa::Variant reflect() = 0;

    /// Description of the component type; null when it has none.
    [[nodiscard]] virtual const mirra::BaseStaticMetaObject* metaType() const = 0;

    /// Loads the external data that the component needs, by the prefab's own values. Worker thread, no lock held.
    virtual void preload() const = 0;

    /// Adds a component made from the configuration to the object and returns it; null when the object's world is
    /// gone or the manager refuses the component.
    virtual Tessel::IComponent* createOnObject(Tessel::GameObject object) = 0;

    /// Resolves the links again, removes the object's component of this type and adds a new one. Null when the object's
    /// world is gone or the object is not alive.
    virtual Tessel::IComponent* reapplyOnObject(Tessel::GameObject object, const Uuid& instanceUuid,
                                                const UuidMap& uuidMap) = 0;

    /// Id of the component type.
    [[nodiscard]] virtual Tessel::ComponentTypeId type() const = 0;

    /// The configuration, for changing it; not valid when its type has no description.
    [[nodiscard]] virtual mirra::ReflectedObject configuration() = 0;

    /// The current configuration, for reading; the targets of its links may be set.
    [[nodiscard]] virtual mirra::ReflectedObject viewConfiguration() = 0;

    /// Stores the current configuration as the prefab's own values.
    virtual void storePrefabProperties() = 0;

    /// Restores the configuration to the prefab's own values, then applies the overrides; null for none.
    virtual void setupOverrides(const ComponentOverrideRecords* overrides) = 0;

    /// Whether the configuration has been changed since the prefab's own values were stored or restored.
    [[nodiscard]] virtual bool isOffPrefabProperties() const = 0;

    /// Whether the configuration's type holds links.
    [[nodiscard]] virtual bool hasLinks() const = 0;

    /// Adds a component to the current object of a creation: with the overrides (null for none) applied and the links
    /// resolved. Afterwards the configuration has the prefab's own values again.
    virtual void instantiate(ObjectCreation& creation, const ComponentOverrideRecords* overrides) = 0;

    /// Gives every link of the configuration its target: the object that `uuidMap` has under combine(instance UUID,
    /// link UUID), or under the link UUID itself when that is live. A link that resolves to nothing gets the invalid
    /// object and a warning in the log that names `object`, the component and the UUID; the zero UUID means no link.
    /// Links to the point where a prefab is nested resolve only during the creation of that instance.
    void resolveLinks(Tessel::GameObject object, const Uuid& instanceUuid, const UuidMap& uuidMap);

    /// @{
    /// The roles that use this stored component; ALL_ROLES at first.
    [[nodiscard]] Tessel::ComponentOptions getInstanceOptions() const noexcept { return m_instanceOptions; }
    void setInstanceOptions(Tessel::ComponentOptions options) noexcept { m_instanceOptions = options; }
    /// @}

    /// Whether a component with these options is wanted in this process.
    [[nodiscard]] static bool needToDeserialize(Tessel::ComponentOptions options);

protected:
    /// resolveLinks() for a configuration of that description and the current object of a creation. A link to the point
    /// where a prefab is nested refers to the object that stands for the nested root.
    void resolveLinks(ObjectCreation& creation, const mirra::BaseStaticMetaObject& meta, void* config) const;

    /// The same for a single link.
    void resolveLink(ObjectCreation& creation, Tessel::GameObjectLink& link) const {
        const LinkTarget& known = link.isLiveUuid() ? creation.liveTarget() : creation.documentTarget();
        const Tessel::GameObject* const target = known.find(link.uuid());
        link.setTarget(target ? *target : findTarget(creation, link));
    }

private:
    [[nodiscard]] Tessel::GameObject findTarget(ObjectCreation& creation, const Tessel::ILinkConfig& link) const;

    Tessel::ComponentOptions m_instanceOptions = Tessel::ALL_ROLES;
};

} // namespace Kiln
