#pragma once

#include <tessel_foundation/component.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace Kiln::Tessel {

/// The components of one game object, in the order in which they were added. They are few, so they are searched
/// linearly, and up to IN_PLACE of them take no memory of their own.
class ComponentList {
public:
    struct Entry {
        ComponentPointer component;
        ComponentTypeId type = 0;
    };

    static constexpr std::uint32_t IN_PLACE = 4;

    [[nodiscard]] bool empty() const noexcept { return m_size == 0; }
    [[nodiscard]] std::size_t size() const noexcept { return m_size; }
    [[nodiscard]] Entry* begin() noexcept { return m_entries ? m_entries.get() : m_inPlace.data(); }
    [[nodiscard]] Entry* end() noexcept { return begin() + m_size; }

    /// Null when there is none of that type.
    [[nodiscard]] Entry* find(ComponentTypeId type) noexcept {
        for (Entry& entry : *this) {
            if (entry.type == type) {
                return &entry;
            }
        }
        return nullptr;
    }

    /// Whether `types`, as made by bitOf(), can all be there; no says that one is not.
    [[nodiscard]] bool mayHaveAll(std::uint64_t types) const noexcept { return (m_types & types) == types; }
    [[nodiscard]] static std::uint64_t bitOf(ComponentTypeId type) noexcept { return std::uint64_t{1} << (type % 64U); }

    void add(ComponentPointer component, ComponentTypeId type) {
        if (m_size == m_capacity) {
            grow();
        }
        Entry& entry = begin()[m_size++];
        entry.component = std::move(component);
        entry.type = type;
        m_types |= bitOf(type);
    }

    void erase(Entry* entry) noexcept {
        const ComponentPointer erased = std::move(entry->component); // Destroyed when the list is whole again.
        std::move(entry + 1, end(), entry);
        --m_size;
        m_types = 0;
        for (const Entry& other : *this) {
            m_types |= bitOf(other.type);
        }
    }

    void removeLast() noexcept {
        --m_size;
        begin()[m_size].component.reset();
    }

private:
    void grow() {
        const std::uint32_t capacity = m_capacity * 2;
        auto entries = std::make_unique<Entry[]>(capacity);
        std::move(begin(), end(), entries.get());
        m_entries = std::move(entries);
        m_capacity = capacity;
    }

    std::uint64_t m_types = 0; ///< A bit for each type, shared by every 64th.
    std::uint32_t m_size = 0;
    std::uint32_t m_capacity = IN_PLACE;
    std::array<Entry, IN_PLACE> m_inPlace;
    std::unique_ptr<Entry[]> m_entries; ///< In place of m_inPlace, once that was too small.
};

} // namespace Kiln::Tessel
