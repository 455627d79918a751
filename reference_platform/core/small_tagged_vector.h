#pragma once

#include <core/non_copyable.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

namespace Kiln {

/// A vector of elements that each carry a small tag. Up to N elements are stored inside the object; more than N are
/// stored in one block on the heap, the elements contiguously and their tags behind them.
///
/// Meant for objects that exist in large numbers and hold few elements. The last member is a single byte, so a
/// [[no_unique_address]] member leaves the padding behind it to the next member. A search through the tags does not
/// read what the elements refer to.
///
/// Owns the elements and destroys the last one first; elements are moved, never copied. Adding and removing invalidate
/// references and spans. Threads: like a standard container. Failure: when memory is exhausted, add() throws
/// std::bad_alloc and changes neither the vector nor its argument.
///
///     SmallTaggedVector<SmartPointer<Node>, std::uint16_t, 4> nodes;
///     nodes.add(makeSmart<Node>(), 7);
template <class T, class Tag, std::size_t N>
class SmallTaggedVector : NonCopyable {
    static_assert(std::is_nothrow_move_constructible_v<T> && std::is_nothrow_move_assignable_v<T>,
                  "add() and remove() move elements and cannot undo a partial change");
    static_assert(std::is_trivial_v<Tag> && alignof(Tag) <= alignof(T), "tags lie behind the elements of a block");
    static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    static_assert(N > 0 && N < 0xFF, "0xFF in the size byte means that the elements are on the heap");

public:
    /// Most elements that the object stores without a block on the heap.
    static constexpr std::size_t INLINE_CAPACITY = N;

    SmallTaggedVector() noexcept {} // NOLINT(modernize-use-equals-default): the union has no default constructor.
    ~SmallTaggedVector() {
        T* const elements = data();
        for (std::size_t index = size(); index > 0; --index) {
            std::destroy_at(elements + index - 1);
        }
        if (isOnHeap()) {
            ::operator delete(m_heap.elements);
        }
    }

    /// @{
    /// Number of elements, and whether there are none. Constant time.
    [[nodiscard]] bool empty() const noexcept { return m_inlineSize == 0; }
    [[nodiscard]] std::size_t size() const noexcept { return isOnHeap() ? m_heap.size : m_inlineSize; }
    /// @}

    /// @{
    /// An element and its tag; `index` must be less than size().
    [[nodiscard]] const T& operator[](std::size_t index) const noexcept { return data()[index]; }
    [[nodiscard]] Tag tag(std::size_t index) const noexcept { return tagData()[index]; }
    /// @}

    /// In the order in which they were added.
    [[nodiscard]] std::span<const T> elements() const noexcept { return {data(), size()}; }
    /// By element index.
    [[nodiscard]] std::span<const Tag> tags() const noexcept { return {tagData(), size()}; }

    /// Appends an element.
    void add(T&& element, Tag tag) {
        if (m_inlineSize < N) [[likely]] {
            std::construct_at(m_inlineElements + m_inlineSize, std::move(element));
            m_inlineTags[m_inlineSize] = tag;
            ++m_inlineSize;
            return;
        }
        if (!isOnHeap() || m_heap.size == m_heap.capacity) {
            grow(); // Does not take the element, so that the caller can pass it in a register.
        }
        std::construct_at(m_heap.elements + m_heap.size, std::move(element));
        m_heap.tags()[m_heap.size] = tag;
        ++m_heap.size;
    }

    /// Destroys an element and closes the gap. When the remaining elements fit into the object, they move there and the
    /// block is freed.
    void remove(std::size_t index) noexcept {
        T* const elements = data();
        Tag* const tags = tagData();
        const std::size_t last = size() - 1;
        std::move(elements + index + 1, elements + last + 1, elements + index);
        std::copy(tags + index + 1, tags + last + 1, tags + index);
        std::destroy_at(elements + last);
        if (!isOnHeap()) {
            --m_inlineSize;
        } else if (--m_heap.size == N) {
            moveToInline();
        }
    }

private:
    struct Heap {
        T* elements; ///< Start of the block; the tags begin after `capacity` elements.
        std::uint32_t size;
        std::uint32_t capacity;

        [[nodiscard]] Tag* tags() const noexcept { return reinterpret_cast<Tag*>(elements + capacity); }
    };

    static constexpr std::uint8_t ON_HEAP = 0xFF;

    [[nodiscard]] bool isOnHeap() const noexcept { return m_inlineSize == ON_HEAP; }

    [[nodiscard]] T* data() noexcept { return isOnHeap() ? m_heap.elements : m_inlineElements; }
    [[nodiscard]] const T* data() const noexcept { return isOnHeap() ? m_heap.elements : m_inlineElements; }
    [[nodiscard]] Tag* tagData() noexcept { return isOnHeap() ? m_heap.tags() : m_inlineTags.data(); }
    [[nodiscard]] const Tag* tagData() const noexcept { return isOnHeap() ? m_heap.tags() : m_inlineTags.data(); }

    /// Moves all elements to a new block of twice the capacity. Not inlined, because it is rarely called.
    [[gnu::noinline]] void grow() {
        const std::size_t count = size();
        const std::size_t capacity = 2 * count;
        // Nothing after the allocation throws. The elements may be pointers.
        // NOLINTNEXTLINE(bugprone-sizeof-expression)
        T* const elements = static_cast<T*>(::operator new(capacity*(sizeof(T) + sizeof(Tag))));
        const Heap grown{elements, static_cast<std::uint32_t>(count), static_cast<std::uint32_t>(capacity)};
        relocate(data(), count, grown.elements);
        std::copy_n(tagData(), count, grown.tags());
        if (isOnHeap()) {
            ::operator delete(m_heap.elements);
        }
        m_heap = grown;
        m_inlineSize = ON_HEAP;
    }

    void moveToInline() noexcept {
        const Heap heap = m_heap; // The inline elements overwrite it.
        relocate(heap.elements, N, m_inlineElements);
        std::copy_n(heap.tags(), N, m_inlineTags.begin());
        m_inlineSize = N;
        ::operator delete(heap.elements);
    }

    /// Moves elements to uninitialized storage and destroys the originals.
    static void relocate(T* from, std::size_t count, T* to) noexcept {
        std::uninitialized_move_n(from, count, to);
        std::destroy_n(from, count);
    }

    union {
        T m_inlineElements[N];
        Heap m_heap; ///< All elements, when there are more than N.
    };
    std::array<Tag, N> m_inlineTags{};
    std::uint8_t m_inlineSize = 0; ///< ON_HEAP when the elements are in the block.
};

} // namespace Kiln
