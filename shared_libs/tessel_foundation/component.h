#pragma once

#include <core/non_copyable.h>
#include <tessel_foundation/dynamic_types_library.h>
#include <tessel_foundation/export.h>

#include <cstdint>
#include <memory>
#include <typeinfo>

namespace Kiln::Tessel {

/// Identifies a component type in this process; ids are dense from 0.
using ComponentTypeId = std::uint16_t;

/// Base of all components: a piece of data or behaviour that belongs to one game object.
///
/// Owner: the block pool of its type in the world of its game object (see ComponentStorage); the game object holds it
/// through a ComponentPointer. Threads: the main thread.
class KILN_TESSEL_FOUNDATION_EXPORT IComponent : NonCopyable {
public:
    /// What the registry stores about each component type.
    struct TypeMeta {};

    /// Most types that the registry takes.
    static constexpr ComponentTypeId MAX_TYPES = 1024;
    /// Type of the registry.
    using TypesLibrary = DynamicTypesLibrary<TypeMeta, ComponentTypeId, MAX_TYPES>;

    /// The process-wide registry of component types. The ids that it assigns are below MAX_TYPES; MAX_TYPES itself
    /// means that the registry is full.
    static TypesLibrary& types();

    /// Id of the component's type.
    [[nodiscard]] virtual ComponentTypeId type() const = 0;
    virtual ~IComponent();
    /// @{
    /// Called when the game object becomes active, or inactive.
    virtual void activate() = 0;
    virtual void deactivate() = 0;
    /// @}

protected:
    IComponent() = default;
};

/// Logs the message of checkComponentTypeId().
KILN_TESSEL_FOUNDATION_EXPORT void reportTooManyComponentTypes();

/// Logs a critical message if `id` means that the registry of component types was full.
inline void checkComponentTypeId(ComponentTypeId id) {
    if (id == IComponent::MAX_TYPES) [[unlikely]] {
        reportTooManyComponentTypes();
    }
}

/// Gives a component class its type id: one per process, whichever shared library asks first.
template <class T>
class NativeComponent {
public:
    /// The id of T, which the first call assigns. Any thread.
    [[nodiscard]] static ComponentTypeId getType() {
        static const ComponentTypeId id = IComponent::types().registerType(typeid(T));
        return id;
    }

protected:
    NativeComponent() { checkComponentTypeId(getType()); }
    ~NativeComponent() = default;
};

/// A component with the type id of T as a T; null if it is null. All types that do not fit into the registry share one
/// id: a component of another of these types also yields null.
template <class T>
[[nodiscard]] T* castComponent(IComponent* component) {
    if (NativeComponent<T>::getType() == IComponent::MAX_TYPES) [[unlikely]] {
        return dynamic_cast<T*>(component);
    }
    return static_cast<T*>(component);
}

/// Destroys a component and returns its memory to the storage that allocated it.
struct IComponentDeleter {
    /// Set by the storage that allocated the component.
    void (*deallocate)(IComponent* component) = nullptr;

    /// Calls `deallocate`.
    void operator()(IComponent* component) const { deallocate(component); }
};

/// Owns one pooled component.
using ComponentPointer = std::unique_ptr<IComponent, IComponentDeleter>;

} // namespace Kiln::Tessel
