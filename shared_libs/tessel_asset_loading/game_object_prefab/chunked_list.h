#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>

namespace Kiln::Tessel::detail {

/// A sequence that grows and shrinks at its end, in chunks of a fixed size. No operation but clear() and the destructor
/// moves or destroys more than one chunk of elements, so that a list of any length can be built and freed in small
/// steps. A list of fewer elements than a chunk takes about as much memory as a vector.
///
/// References to elements stay valid until the elements are removed, except in a list of less than a chunk, which may
/// move them when it grows.
template <class Element>
class ChunkedList {
    static_assert(std::is_nothrow_move_constructible_v<Element>);

public:
    /// Elements per chunk. A power of two, so that an index is split by a shift and a mask.
    static constexpr std::size_t CHUNK_SIZE = 256;

    ChunkedList() noexcept = default;
    ChunkedList(ChunkedList&& other) noexcept { swap(other); }
    ChunkedList& operator=(ChunkedList&& other) noexcept {
        ChunkedList moved(std::move(other));
        swap(moved);
        return *this;
    }
    ChunkedList(const ChunkedList&) = delete;
    ChunkedList& operator=(const ChunkedList&) = delete;
    ~ChunkedList() {
        clear();
        if (m_capacity > 0) {
            deallocate(m_chunks[0], m_capacity);
        }
        if (m_chunks != &m_onlyChunk) {
            delete[] m_chunks;
        }
    }

    void swap(ChunkedList& other) noexcept {
        const bool hasTable = m_chunks != &m_onlyChunk;
        const bool hasOtherTable = other.m_chunks != &other.m_onlyChunk;
        std::swap(m_chunks, other.m_chunks);
        std::swap(m_onlyChunk, other.m_onlyChunk);
        std::swap(m_tableCapacity, other.m_tableCapacity);
        std::swap(m_capacity, other.m_capacity);
        std::swap(m_size, other.m_size);
        if (!hasOtherTable) {
            m_chunks = &m_onlyChunk;
        }
        if (!hasTable) {
            other.m_chunks = &other.m_onlyChunk;
        }
    }

    [[nodiscard]] bool empty() const noexcept { return m_size == 0; }
    [[nodiscard]] std::size_t size() const noexcept { return m_size; }

    [[nodiscard]] Element& operator[](std::size_t index) noexcept {
        return m_chunks[index / CHUNK_SIZE][index % CHUNK_SIZE];
    }
    [[nodiscard]] const Element& operator[](std::size_t index) const noexcept {
        return m_chunks[index / CHUNK_SIZE][index % CHUNK_SIZE];
    }
    [[nodiscard]] const Element& front() const noexcept { return (*this)[0]; }
    [[nodiscard]] Element& back() noexcept { return (*this)[m_size - 1]; }

    /// The elements from `first` on that are next to each other in memory, but at most `maxCount`.
    [[nodiscard]] std::span<Element> run(std::size_t first, std::size_t maxCount) noexcept {
        const std::size_t inChunk = CHUNK_SIZE - first % CHUNK_SIZE;
        return {&(*this)[first], std::min({maxCount, inChunk, m_size - first})};
    }

    /// Avoids moves if the list will have this number of elements, and it is less than a chunk.
    void reserve(std::size_t count) {
        const std::size_t capacity = std::min(count, CHUNK_SIZE);
        if (capacity > m_capacity) {
            growFirst(capacity);
        }
    }

    void push_back(const Element& element) { push_back(Element(element)); }
    void push_back(Element&& element) {
        if (m_size == m_capacity) [[unlikely]] {
            grow();
        }
        std::construct_at(&(*this)[m_size], std::move(element));
        ++m_size;
    }

    /// Frees each chunk but the first one with its last element.
    void pop_back() noexcept {
        std::destroy_at(&back());
        if (--m_size % CHUNK_SIZE == 0) [[unlikely]] {
            freeLastChunk();
        }
    }

    void clear() noexcept {
        while (m_size > 0) {
            const std::size_t first = (m_size - 1) / CHUNK_SIZE * CHUNK_SIZE;
            std::destroy_n(&(*this)[first], m_size - first);
            m_size = first;
            freeLastChunk();
        }
    }

private:
    static void deallocate(Element* chunk, std::size_t capacity) noexcept {
        std::allocator<Element>().deallocate(chunk, capacity);
    }

    /// Frees the last chunk, which is empty, unless it is the first.
    void freeLastChunk() noexcept {
        if (m_size > 0) {
            deallocate(m_chunks[m_size / CHUNK_SIZE], CHUNK_SIZE);
            m_capacity = m_size;
        }
    }

    /// Makes room for more elements.
    [[gnu::noinline]] void grow() {
        if (m_capacity < CHUNK_SIZE) {
            constexpr std::size_t FIRST_CAPACITY = 8;
            growFirst(std::clamp(m_capacity * 2, FIRST_CAPACITY, CHUNK_SIZE));
            return;
        }
        const std::size_t chunk = m_capacity / CHUNK_SIZE;
        if (chunk == m_tableCapacity) {
            growTable();
        }
        m_chunks[chunk] = std::allocator<Element>().allocate(CHUNK_SIZE);
        m_capacity += CHUNK_SIZE;
    }

    void growFirst(std::size_t capacity) {
        Element* const grown = std::allocator<Element>().allocate(capacity);
        if (m_capacity > 0) {
            std::uninitialized_move_n(m_chunks[0], m_size, grown);
            std::destroy_n(m_chunks[0], m_size);
            deallocate(m_chunks[0], m_capacity);
        }
        m_chunks[0] = grown;
        m_capacity = capacity;
    }

    void growTable() {
        auto** const table = new Element*[m_tableCapacity * 2];
        std::copy_n(m_chunks, m_tableCapacity, table);
        if (m_chunks != &m_onlyChunk) {
            delete[] m_chunks;
        }
        m_chunks = table;
        m_tableCapacity *= 2;
    }

    Element** m_chunks = &m_onlyChunk; ///< The table of chunks: an array, or the member below for a single one.
    Element* m_onlyChunk = nullptr;
    std::size_t m_tableCapacity = 1; ///< Chunks for which the table has room.
    std::size_t m_capacity = 0;      ///< Elements for which the chunks have room.
    std::size_t m_size = 0;
};

} // namespace Kiln::Tessel::detail
