#pragma once

#include <tessel_foundation/internal_tech/elem_state.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <type_traits>

namespace Kiln::Tessel {

/// A state record in one word. Each half of the word is a field of its own: an index as a signed number, and in the
/// lowest bit a part of the state. An operation on a chain changes one field of each element that it touches, so it
/// neither unpacks nor writes the other one.
template <class Word>
class PackedElemState {
    using Field = std::conditional_t<sizeof(Word) == sizeof(std::uint32_t), std::int16_t, std::int32_t>;
    using AllocationState = ElemState::AllocationState;
    static constexpr unsigned INDEX_BITS = sizeof(Field) * CHAR_BIT - 1;

public:
    /// The largest number of elements whose indices fit.
    static constexpr std::size_t MAX_ELEMENTS = std::size_t{1} << (INDEX_BITS - 1);

    // cppcheck-suppress uninitMemberVar ; an array of these is filled in one pass after its allocation
    PackedElemState() = default; ///< Uninitialised.

    /// Packs a record, whose indices must fit, see MAX_ELEMENTS.
    void set(const ElemState& state) noexcept {
        m_next = field(state.nextElement, state.allocationState == AllocationState::INACTIVE);
        m_previous = field(state.previousElement, state.allocationState == AllocationState::FREE);
    }

    /// The record that was packed.
    [[nodiscard]] ElemState unpack() const noexcept {
        return {.nextElement = next(),
                .previousElement = m_previous >> 1,
                .allocationState = static_cast<AllocationState>((m_next & 1) | (m_previous & 1) << 1)};
    }

    /// @{
    /// Read or write one part of the record.
    [[nodiscard]] std::int64_t next() const noexcept { return m_next >> 1; }
    [[nodiscard]] bool is(AllocationState state) const noexcept {
        return state == AllocationState::INACTIVE ? (m_next & 1) != 0
               : state == AllocationState::FREE   ? (m_previous & 1) != 0
                                                  : ((m_next | m_previous) & 1) == 0;
    }

    void setNext(std::int64_t next) noexcept { m_next = field(next, (m_next & 1) != 0); }
    void setPrevious(std::int64_t previous) noexcept { m_previous = field(previous, (m_previous & 1) != 0); }
    void setAllocationState(AllocationState state) noexcept {
        m_next = field(m_next >> 1, state == AllocationState::INACTIVE);
        m_previous = field(m_previous >> 1, state == AllocationState::FREE);
    }
    /// @}

private:
    static_assert(static_cast<int>(AllocationState::ACTIVE) == 0 && static_cast<int>(AllocationState::INACTIVE) == 1 &&
                      static_cast<int>(AllocationState::FREE) == 2,
                  "the fields' lowest bits are the bits of the state");

    [[nodiscard]] static Field field(std::int64_t index, bool bit) noexcept {
        return static_cast<Field>(index * 2 + static_cast<std::int64_t>(bit));
    }

    Field m_next;     ///< Its lowest bit is set for INACTIVE.
    Field m_previous; ///< Its lowest bit is set for FREE.
};

/// The state records of a block's elements, packed: each takes 4 bytes instead of 24, or 8 in blocks of more than
/// MAX_NARROW elements. Indices are below size().
class ElemStates {
    using Narrow = PackedElemState<std::uint32_t>;
    using Wide = PackedElemState<std::uint64_t>;

    /// Calls the function with the array that exists. Defined before its first use, which deduces the result.
    template <class Function>
    auto visit(const Function& function) const noexcept {
        return m_narrow ? function(m_narrow.get()) : function(m_wide.get());
    }

public:
    /// @{
    /// Most elements of a block with records of 4 bytes, and of any block.
    static constexpr std::size_t MAX_NARROW = Narrow::MAX_ELEMENTS;
    static constexpr std::size_t MAX_SIZE = Wide::MAX_ELEMENTS;
    /// @}

    /// All elements are FREE, in one chain from the first to the last. Throws std::length_error for more than MAX_SIZE.
    explicit ElemStates(std::size_t size) : m_size(size) {
        if (size > MAX_SIZE) {
            throw std::length_error("Too many elements for one block");
        }
        if (size > MAX_NARROW) {
            m_wide = std::make_unique_for_overwrite<Wide[]>(size);
        } else {
            m_narrow = std::make_unique_for_overwrite<Narrow[]>(size);
        }
        const auto count = static_cast<std::int64_t>(size);
        visit([count](auto* states) {
            for (std::int64_t index = 0; index < count; ++index) {
                states[slot(index)].set({.nextElement = index + 1,
                                         .previousElement = index - 1,
                                         .allocationState = ElemState::AllocationState::FREE});
            }
        });
        if (count > 0) {
            setNext(count - 1, ElemState::NO_ELEMENT);
        }
    }

    /// Number of elements.
    [[nodiscard]] std::size_t size() const noexcept { return m_size; }

    /// The record of an element.
    [[nodiscard]] ElemState operator[](std::int64_t index) const noexcept {
        return visit([index](const auto* states) { return states[slot(index)].unpack(); });
    }

    /// @{
    /// One part of the record of an element.
    [[nodiscard]] std::int64_t next(std::int64_t index) const noexcept {
        return visit([index](const auto* states) { return states[slot(index)].next(); });
    }
    [[nodiscard]] bool is(std::int64_t index, ElemState::AllocationState state) const noexcept {
        return visit([=](const auto* states) { return states[slot(index)].is(state); });
    }
    /// @}

    /// @{
    /// Replaces the record of an element, or one part of it.
    void set(std::int64_t index, const ElemState& state) noexcept {
        visit([&](auto* states) { states[slot(index)].set(state); });
    }
    void setNext(std::int64_t index, std::int64_t next) noexcept {
        visit([=](auto* states) { states[slot(index)].setNext(next); });
    }
    void setPrevious(std::int64_t index, std::int64_t previous) noexcept {
        visit([=](auto* states) { states[slot(index)].setPrevious(previous); });
    }
    void setAllocationState(std::int64_t index, ElemState::AllocationState allocationState) noexcept {
        visit([=](auto* states) { states[slot(index)].setAllocationState(allocationState); });
    }
    /// @}

private:
    [[nodiscard]] static std::size_t slot(std::int64_t index) noexcept { return static_cast<std::size_t>(index); }

    std::size_t m_size;
    std::unique_ptr<Narrow[]> m_narrow; ///< Exactly one of the two arrays exists.
    std::unique_ptr<Wide[]> m_wide;
};

} // namespace Kiln::Tessel
