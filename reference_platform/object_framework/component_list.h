#pragma once

#include <core/small_tagged_vector.h>
#include <tessel_foundation/component.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Kiln::Tessel {

/// Number of a component kind: a component type together with the deleter that frees such components.
using ComponentKind = std::uint16_t;

/// The component kinds of a world. An object's components are stored as a pointer and a kind each, which takes less
/// than half the memory of owning pointers with their types.
class ComponentKinds {
public:
    /// Returns the kind of a type and a deleter; registers a new one when there is none.
    [[nodiscard]] ComponentKind of(ComponentTypeId type, IComponentDeleter deleter) {
        return type < m_firstOfType.size() && m_firstOfType[type].isOf(type, deleter) ? m_firstOfType[type].number
                                                                                      : search(type, deleter);
    }

    [[nodiscard]] ComponentTypeId type(ComponentKind kind) const noexcept { return m_types[kind]; }
    [[nodiscard]] IComponentDeleter deleter(ComponentKind kind) const noexcept { return m_kinds[kind].deleter; }

private:
    struct Kind {
        IComponentDeleter deleter; ///< Empty for a type that has no kind yet.
        ComponentTypeId type;
        ComponentKind number;

        [[nodiscard]] bool isOf(ComponentTypeId otherType, IComponentDeleter otherDeleter) const noexcept {
            return type == otherType && deleter.deallocate == otherDeleter.deallocate;
        }
    };

    ComponentKind search(ComponentTypeId type, IComponentDeleter deleter);

    std::vector<Kind> m_kinds;            ///< Indexed by kind.
    std::vector<ComponentTypeId> m_types; ///< Indexed by kind: a copy of the field that searches read.
    std::vector<Kind> m_firstOfType;      ///< Indexed by type; other kinds of the type are found by a search.
};

/// The components of one game object, in the order in which they were added; at most one of each type. They are few, so
/// they are searched linearly.
///
/// Owns the components, but the deleters are stored in ComponentKinds: the holder removes all components before it
/// destroys the list.
class ComponentList {
public:
    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    [[nodiscard]] bool empty() const noexcept { return m_components.empty(); }
    [[nodiscard]] std::size_t size() const noexcept { return m_components.size(); }

    [[nodiscard]] IComponent& component(std::size_t index) const noexcept { return *m_components[index]; }
    [[nodiscard]] ComponentKind kind(std::size_t index) const noexcept { return m_components.tag(index); }

    /// Index of the component of that type; NONE when there is none.
    [[nodiscard]] std::size_t find(ComponentTypeId type, const ComponentKinds& kinds) const noexcept {
        const std::span<const ComponentKind> all = m_components.tags();
        for (std::size_t index = 0; index < all.size(); ++index) {
            if (kinds.type(all[index]) == type) {
                return index;
            }
        }
        return NONE;
    }

    /// Takes ownership of the component and returns true, unless there is one of that type; then the caller keeps it.
    [[nodiscard]] bool add(ComponentPointer&& component, ComponentKinds& kinds, ComponentTypeId type) {
        if (find(type, kinds) != NONE) {
            return false;
        }
        m_components.add(component.get(), kinds.of(type, component.get_deleter()));
        static_cast<void>(component.release());
        return true;
    }

    /// Removes a component from the list and hands it to the caller.
    [[nodiscard]] ComponentPointer remove(std::size_t index, const ComponentKinds& kinds) noexcept {
        ComponentPointer removed(m_components[index], kinds.deleter(kind(index)));
        m_components.remove(index);
        return removed;
    }

private:
    /// Most objects have at most three components. Leaves a byte at its end to the members of the record that holds
    /// the list.
    [[no_unique_address]] SmallTaggedVector<IComponent*, ComponentKind, 3> m_components;
};

} // namespace Kiln::Tessel
