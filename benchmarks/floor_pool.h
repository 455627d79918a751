#pragma once

#include <core/non_copyable.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

/// Minimal block pools: the elements' memory is filled with zeros, each element has a state record, free and active
/// elements are chained through the records, and each component has a link to its block.
namespace Kiln::Benchmarks {

class FloorComponent {
public:
    virtual ~FloorComponent() = default;
    virtual void activate() = 0;
    [[nodiscard]] virtual bool isActive() const = 0;
};

template <class T>
class FloorBlock;

/// A component that is stored in a block of its type and is activated through it.
template <class T>
class FloorPooled : public FloorComponent {
public:
    void activate() final { m_block->activate(static_cast<T&>(*this)); }
    [[nodiscard]] bool isActive() const final { return m_block->isActive(static_cast<const T&>(*this)); }

private:
    friend class FloorBlock<T>;

    FloorBlock<T>* m_block = nullptr;
};

template <class T>
class FloorBlock : NonCopyable {
public:
    FloorBlock() : m_room(std::make_unique<Room[]>(SIZE)), m_states(SIZE) {
        for (std::int64_t i = 0; i < SIZE; ++i) {
            m_states[static_cast<std::size_t>(i)] = {i + 1 < SIZE ? i + 1 : NONE, i - 1, State::FREE};
        }
    }
    ~FloorBlock() {
        for (std::size_t i = 0; i < m_states.size(); ++i) {
            if (m_states[i].kind != State::FREE) {
                reinterpret_cast<T&>(m_room[i]).~T();
            }
        }
    }

    [[nodiscard]] bool isFull() const { return m_nextFree == NONE; }

    template <class... Arguments>
    T& create(Arguments&&... arguments) {
        const auto index = static_cast<std::size_t>(m_nextFree);
        State& state = m_states[index];
        m_nextFree = state.next;
        if (!isFull()) {
            m_states[static_cast<std::size_t>(m_nextFree)].previous = NONE;
        }
        state.kind = State::INACTIVE;
        T* const element = new (&m_room[index]) T(std::forward<Arguments>(arguments)...);
        element->m_block = this;
        return *element;
    }

    void activate(T& element) {
        const std::size_t index = indexOf(element);
        if (m_states[index].kind != State::INACTIVE) {
            return;
        }
        m_states[index] = {NONE, m_last, State::ACTIVE};
        (m_last == NONE ? m_first : m_states[static_cast<std::size_t>(m_last)].next) = static_cast<std::int64_t>(index);
        m_last = static_cast<std::int64_t>(index);
    }

    [[nodiscard]] bool isActive(const T& element) const { return m_states[indexOf(element)].kind == State::ACTIVE; }

private:
    static constexpr std::int64_t SIZE = 256;
    static constexpr std::int64_t NONE = -1;

    struct alignas(T) Room {
        std::byte bytes[sizeof(T)];
    };

    struct State {
        enum Kind : std::uint8_t { ACTIVE, INACTIVE, FREE };

        std::int64_t next;
        std::int64_t previous;
        Kind kind = FREE;
    };

    [[nodiscard]] std::size_t indexOf(const T& element) const {
        return static_cast<std::size_t>(reinterpret_cast<const Room*>(&element) - m_room.get());
    }

    std::unique_ptr<Room[]> m_room;
    std::vector<State> m_states;
    std::int64_t m_nextFree = 0;
    std::int64_t m_first = NONE;
    std::int64_t m_last = NONE;
};

/// All elements are destroyed with the pool.
template <class T>
class FloorPool : NonCopyable {
public:
    template <class... Arguments>
    T& create(Arguments&&... arguments) {
        if (m_blocks.empty() || m_blocks.back()->isFull()) {
            m_blocks.push_back(std::make_unique<FloorBlock<T>>());
        }
        return m_blocks.back()->create(std::forward<Arguments>(arguments)...);
    }

private:
    std::vector<std::unique_ptr<FloorBlock<T>>> m_blocks;
};

} // namespace Kiln::Benchmarks
