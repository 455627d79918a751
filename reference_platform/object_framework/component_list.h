#pragma once

#include <core/non_copyable.h>
#include <tessel_foundation/component.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace Kiln::Tessel {

/// Number of a kind of component: its type, and how its memory is given back.
using ComponentKind = std::uint16_t;

/// The kinds of component that a world has met. An object's components are held by pointer and kind, which takes less
/// than half of what owning pointers with their types would.
class ComponentKinds {
public:
    /// The kind of that type and deleter, entered when it is new.
    [[nodiscard]] ComponentKind of(ComponentTypeId type, IComponentDeleter deleter) {
        return type < m_firstOfType.size() && m_firstOfType[type].isOf(type, deleter) ? m_firstOfType[type].number
                                                                                      : search(type, deleter);
    }

    [[nodiscard]] ComponentTypeId type(ComponentKind kind) const noexcept { return m_kinds[kind].type; }
    [[nodiscard]] IComponentDeleter deleter(ComponentKind kind) const noexcept { return m_kinds[kind].deleter; }

private:
    struct Kind {
        IComponentDeleter deleter; ///< None for a type that was not met.
        ComponentTypeId type;
        ComponentKind number;

        [[nodiscard]] bool isOf(ComponentTypeId otherType, IComponentDeleter otherDeleter) const noexcept {
            return type == otherType && deleter.deallocate == otherDeleter.deallocate;
        }
    };

    ComponentKind search(ComponentTypeId type, IComponentDeleter deleter);

    std::vector<Kind> m_kinds;       ///< By number.
    std::vector<Kind> m_firstOfType; ///< By type.
};

/// The components of one game object, in the order in which they were added. They are few, so they are searched
/// linearly, and up to IN_PLACE of them take no memory of their own.
///
/// Owns the components, but knows only with their kinds how to give them back: the holder empties it.
class ComponentList : NonCopyable {
public:
    static constexpr std::size_t IN_PLACE = 3;
    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    ComponentList() noexcept : m_inPlace{} {}
    ~ComponentList() {
        if (isOnHeap()) {
            delete[] m_heap.entries;
        }
    }

    [[nodiscard]] bool empty() const noexcept { return m_size == 0; }
    [[nodiscard]] std::size_t size() const noexcept { return isOnHeap() ? m_heap.size : m_size; }

    [[nodiscard]] IComponent& component(std::size_t index) const noexcept {
        return *(isOnHeap() ? m_heap.entries[index].component : m_inPlace[index]);
    }
    [[nodiscard]] ComponentKind kind(std::size_t index) const noexcept {
        return isOnHeap() ? m_heap.entries[index].kind : m_kinds[index];
    }

    /// Index of the component of that type; NONE when there is none.
    [[nodiscard]] std::size_t find(ComponentTypeId type, const ComponentKinds& kinds) const noexcept {
        if (isOnHeap()) {
            return findOnHeap(type, kinds);
        }
        for (std::size_t index = 0; index < m_size; ++index) {
            if (kinds.type(m_kinds[index]) == type) {
                return index;
            }
        }
        return NONE;
    }

    /// Takes a component over and returns true, unless there is one of that type.
    [[nodiscard]] bool add(ComponentPointer&& component, ComponentKinds& kinds, ComponentTypeId type) {
        if (find(type, kinds) != NONE) {
            return false;
        }
        const ComponentKind itsKind = kinds.of(type, component.get_deleter());
        if (m_size < IN_PLACE) {
            m_inPlace[m_size] = component.get();
            m_kinds[m_size] = itsKind;
            ++m_size;
        } else {
            addToHeap({component.get(), itsKind});
        }
        component.release();
        return true;
    }

    /// Takes a component out.
    [[nodiscard]] ComponentPointer remove(std::size_t index, const ComponentKinds& kinds) noexcept {
        ComponentPointer removed(&component(index), kinds.deleter(kind(index)));
        if (isOnHeap()) {
            std::copy(m_heap.entries + index + 1, m_heap.entries + m_heap.size, m_heap.entries + index);
            if (--m_heap.size == IN_PLACE) {
                moveInPlace();
            }
        } else {
            std::copy(m_inPlace + index + 1, m_inPlace + m_size, m_inPlace + index);
            std::copy(m_kinds.begin() + index + 1, m_kinds.begin() + m_size, m_kinds.begin() + index);
            --m_size;
        }
        return removed;
    }

private:
    struct Entry {
        IComponent* component;
        ComponentKind kind;
    };
    struct Heap {
        Entry* entries;
        std::uint32_t size;
        std::uint32_t capacity;
    };

    static constexpr std::uint8_t ON_HEAP = 0xFF;

    [[nodiscard]] bool isOnHeap() const noexcept { return m_size == ON_HEAP; }

    [[nodiscard]] std::size_t findOnHeap(ComponentTypeId type, const ComponentKinds& kinds) const noexcept {
        for (std::size_t index = 0; index < m_heap.size; ++index) {
            if (kinds.type(m_heap.entries[index].kind) == type) {
                return index;
            }
        }
        return NONE;
    }

    /// Also when the others are in place as yet.
    void addToHeap(Entry entry) {
        const auto count = static_cast<std::uint32_t>(size());
        if (!isOnHeap() || count == m_heap.capacity) {
            const std::uint32_t capacity = 2 * count;
            auto* const entries = new Entry[capacity];
            for (std::uint32_t index = 0; index < count; ++index) {
                entries[index] = {&component(index), kind(index)};
            }
            if (isOnHeap()) {
                delete[] m_heap.entries;
            }
            m_heap = {entries, count, capacity};
            m_size = ON_HEAP;
        }
        m_heap.entries[m_heap.size++] = entry;
    }

    void moveInPlace() noexcept {
        const std::unique_ptr<Entry[]> entries(m_heap.entries);
        for (std::size_t index = 0; index < IN_PLACE; ++index) {
            m_inPlace[index] = entries[index].component;
            m_kinds[index] = entries[index].kind;
        }
        m_size = IN_PLACE;
    }

    union {
        IComponent* m_inPlace[IN_PLACE];
        Heap m_heap; ///< All of them, when there are more than fit in place.
    };
    std::array<ComponentKind, IN_PLACE> m_kinds{};
    std::uint8_t m_size = 0; ///< Of those in place; ON_HEAP when none is.
};

} // namespace Kiln::Tessel
