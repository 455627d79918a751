#pragma once

#include <cstddef>
#include <limits>
#include <vector>

namespace Kiln::Tessel {

/// The elements of one block whose deactivation was requested in the deferred mode, each once, in the order of the
/// requests. Every operation on a single element takes constant time.
class DeferredDeactivations {
public:
    /// Must be called before the first add(); no other operation allocates.
    void prepare(std::size_t elementsCount) { m_links.resize(elementsCount); }

    /// Whether no deactivation is pending.
    [[nodiscard]] bool empty() const noexcept { return m_first == NONE; }

    /// Appends an element; an element that is already pending keeps its position.
    void add(std::size_t element) noexcept {
        Link& link = m_links[element];
        if (link.isPending) {
            return;
        }
        link = {.next = NONE, .previous = m_last, .isPending = true};
        (m_last == NONE ? m_first : m_links[m_last].next) = element;
        m_last = element;
    }

    /// Removes an element; does nothing if it is not pending.
    void drop(std::size_t element) noexcept {
        if (empty() || !m_links[element].isPending) {
            return;
        }
        Link& link = m_links[element];
        (link.previous == NONE ? m_first : m_links[link.previous].next) = link.next;
        (link.next == NONE ? m_last : m_links[link.next].previous) = link.previous;
        link.isPending = false;
    }

    /// Removes all elements in order and calls `apply(element)` for each. `apply` may add and drop elements.
    template <class Function>
    void applyAll(Function&& apply) {
        while (!empty()) {
            const std::size_t element = m_first;
            drop(element);
            apply(element);
        }
    }

private:
    static constexpr std::size_t NONE = std::numeric_limits<std::size_t>::max();

    struct Link {
        std::size_t next = NONE;
        std::size_t previous = NONE;
        bool isPending = false;
    };

    std::size_t m_first = NONE;
    std::size_t m_last = NONE;
    std::vector<Link> m_links; ///< By element; empty until the deferred mode is used.
};

} // namespace Kiln::Tessel
