#pragma once

#include <core/safe_reference_count.h>
#include <object_framework/component_option.h>
#include <object_serialization/object_creation.h>
#include <reflection/reflected_object.h>
#include <tessel_foundation/component.h>

#include <string>

namespace Kiln {

class ComponentOverrideRecords;

/// A component's type and configuration. Workers may call name(), type(), preload() and, on the concrete class,
/// prefabProperties() while the main thread creates objects.
class MINIMAL_API IComponentDescriptor : public SafeReferenceCount {
public:
    static const char* const DEFAULT_CATEGORY;

    ~IComponentDescriptor() override;

    [[nodiscard]] virtual const std::string& name() const = 0;
    virtual void preload() const = 0;
    [[nodiscard]] virtual Tessel::ComponentTypeId type() const = 0;
    [[nodiscard]] virtual mirra::ReflectedObject configuration() = 0;
    [[nodiscard]] virtual mirra::ReflectedObject viewConfiguration() = 0;
    virtual void storePrefabProperties() = 0;
    virtual void setupOverrides(const ComponentOverrideRecords* overrides) = 0;

    [[nodiscard]] bool hasLinks();

    /// Adds a component without links to an object.
    virtual Tessel::IComponent* createOnObject(Tessel::GameObject object) = 0;

    /// Adds a component to the object that the creation has entered, with the overrides applied and the links resolved.
    virtual void instantiate(ObjectCreation& creation, const ComponentOverrideRecords* overrides) = 0;

    [[nodiscard]] Tessel::ComponentOptions getInstanceOptions() const { return m_instanceOptions; }
    void setInstanceOptions(Tessel::ComponentOptions options) { m_instanceOptions = options; }

    /// This process has all roles.
    [[nodiscard]] static bool needToDeserialize(Tessel::ComponentOptions options) {
        return (options & Tessel::ALL_ROLES).bits() != 0;
    }

protected:
    static void resolveLinks(const ObjectCreation& creation, const mirra::ReflectedObject& configuration);
    static void applyOverrides(const ComponentOverrideRecords& overrides, const mirra::ReflectedObject& configuration);

private:
    Tessel::ComponentOptions m_instanceOptions = Tessel::ALL_ROLES;
};

} // namespace Kiln
