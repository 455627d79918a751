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
        if (type < m_firstOfType.size()) {
            const ComponentKind known = m_firstOfType[type];
            if (known < m_kinds.size() && m_kinds[known].isOf(type, deleter)) {
                return known;
            }
        }
        return search(type, deleter);
    }

    [[nodiscard]] ComponentTypeId type(ComponentKind kind) const noexcept { return m_kinds[kind].type; }
    [[nodiscard]] IComponentDeleter deleter(ComponentKind kind) const noexcept { return m_kinds[kind].deleter; }

private:
    struct Kind {
        ComponentTypeId type;
        IComponentDeleter deleter;

        [[nodiscard]] bool isOf(ComponentTypeId otherType, IComponentDeleter otherDeleter) const noexcept {
            return type == otherType && deleter.deallocate == otherDeleter.deallocate;
        }
    };

    [[nodiscard]] ComponentKind search(ComponentTypeId type, IComponentDeleter deleter) {
        const auto known =
            std::find_if(m_kinds.begin(), m_kinds.end(), [&](const Kind& kind) { return kind.isOf(type, deleter); });
        const auto number = static_cast<ComponentKind>(known - m_kinds.begin());
        if (known == m_kinds.end()) {
            m_kinds.push_back({type, deleter});
            m_firstOfType.resize(std::max(m_firstOfType.size(), type + std::size_t{1}), NONE);
            if (m_firstOfType[type] == NONE) {
                m_firstOfType[type] = number;
            }
        }
        return number;
    }

    static constexpr ComponentKind NONE = 0xFFFF;

    std::vector<Kind> m_kinds;
    std::vector<ComponentKind> m_firstOfType; ///< By type; NONE for one that was not met.
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
            delete m_entries;
        }
    }

    [[nodiscard]] bool empty() const noexcept { return m_size == 0; }
    [[nodiscard]] std::size_t size() const noexcept { return isOnHeap() ? m_entries->size() : m_size; }

    [[nodiscard]] IComponent& component(std::size_t index) const noexcept {
        return *(isOnHeap() ? (*m_entries)[index].component : m_inPlace[index]);
    }
    [[nodiscard]] ComponentKind kind(std::size_t index) const noexcept {
        return isOnHeap() ? (*m_entries)[index].kind : m_kinds[index];
    }

    /// Index of the component of that type; NONE when there is none.
    [[nodiscard]] std::size_t find(ComponentTypeId type, const ComponentKinds& kinds) const noexcept {
        for (std::size_t index = 0; index < size(); ++index) {
            if (kinds.type(kind(index)) == type) {
                return index;
            }
        }
        return NONE;
    }

    void add(ComponentPointer component, ComponentKinds& kinds, ComponentTypeId type) {
        const ComponentKind itsKind = kinds.of(type, component.get_deleter());
        if (m_size < IN_PLACE) {
            m_inPlace[m_size] = component.get();
            m_kinds[m_size] = itsKind;
            ++m_size;
        } else {
            if (!isOnHeap()) {
                moveToHeap();
            }
            m_entries->push_back({component.get(), itsKind});
        }
        component.release();
    }

    /// Takes a component out.
    [[nodiscard]] ComponentPointer remove(std::size_t index, const ComponentKinds& kinds) noexcept {
        ComponentPointer removed(&component(index), kinds.deleter(kind(index)));
        if (isOnHeap()) {
            m_entries->erase(m_entries->begin() + static_cast<std::ptrdiff_t>(index));
            if (m_entries->size() == IN_PLACE) {
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
    using Entries = std::vector<Entry>;

    static constexpr std::uint8_t ON_HEAP = 0xFF;

    [[nodiscard]] bool isOnHeap() const noexcept { return m_size == ON_HEAP; }

    void moveToHeap() {
        auto entries = std::make_unique<Entries>();
        entries->reserve(2 * IN_PLACE);
        for (std::size_t index = 0; index < IN_PLACE; ++index) {
            entries->push_back({m_inPlace[index], m_kinds[index]});
        }
        m_entries = entries.release();
        m_size = ON_HEAP;
    }

    void moveInPlace() noexcept {
        const std::unique_ptr<Entries> entries(m_entries);
        for (std::size_t index = 0; index < IN_PLACE; ++index) {
            m_inPlace[index] = (*entries)[index].component;
            m_kinds[index] = (*entries)[index].kind;
        }
        m_size = IN_PLACE;
    }

    union {
        IComponent* m_inPlace[IN_PLACE];
        Entries* m_entries; ///< All of them, when there are more than fit in place.
    };
    std::array<ComponentKind, IN_PLACE> m_kinds{};
    std::uint8_t m_size = 0; ///< ON_HEAP when it is that of m_entries.
};

} // namespace Kiln::Tessel
