#pragma once

#include <tessel_foundation/internal_tech/elem_state.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <type_traits>

namespace Kiln::Tessel {

/// A state record in one word: the state in the lowest bits, and the two indices as signed numbers in the halves of the
/// remaining bits.
template <class Word>
class PackedElemState {
    static constexpr unsigned STATE_BITS = 2;
    static constexpr unsigned INDEX_BITS = (sizeof(Word) * CHAR_BIT - STATE_BITS) / 2;

public:
    /// The largest number of elements whose indices fit.
    static constexpr std::size_t MAX_ELEMENTS = std::size_t{1} << (INDEX_BITS - 1);

    // cppcheck-suppress uninitMemberVar ; an array of these is filled in one pass after its allocation
    PackedElemState() = default; ///< Uninitialised.
    /// Packs a record, whose indices must fit, see MAX_ELEMENTS.
    explicit PackedElemState(const ElemState& state) noexcept
        : m_word(static_cast<Word>(static_cast<Word>(state.nextElement) << (INDEX_BITS + STATE_BITS) |
                                   (static_cast<Word>(state.previousElement) & INDEX_MASK) << STATE_BITS |
                                   static_cast<Word>(state.allocationState))) {}

    /// The record that was packed.
    [[nodiscard]] ElemState unpack() const noexcept {
        using Signed = std::make_signed_t<Word>;
        return {.nextElement = static_cast<Signed>(m_word) >> (INDEX_BITS + STATE_BITS),
                .previousElement = static_cast<Signed>(m_word << INDEX_BITS) >> (INDEX_BITS + STATE_BITS),
                .allocationState = static_cast<ElemState::AllocationState>(m_word & STATE_MASK)};
    }

private:
    static constexpr Word INDEX_MASK = (Word{1} << INDEX_BITS) - 1;
    static constexpr Word STATE_MASK = (Word{1} << STATE_BITS) - 1;
    static_assert(2 * INDEX_BITS + STATE_BITS == sizeof(Word) * CHAR_BIT, "the shifts fill the word");

    Word m_word;
};

/// The state records of a block's elements, packed: each takes 4 bytes instead of 24, or 8 in blocks of more than
/// MAX_NARROW elements. Indices are below size().
class ElemStates {
    using Narrow = PackedElemState<std::uint32_t>;
    using Wide = PackedElemState<std::uint64_t>;

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
        for (std::int64_t index = 0; index < count; ++index) {
            set(index, {.nextElement = index + 1 < count ? index + 1 : ElemState::NO_ELEMENT,
                        .previousElement = index - 1,
                        .allocationState = ElemState::AllocationState::FREE});
        }
    }

    /// Number of elements.
    [[nodiscard]] std::size_t size() const noexcept { return m_size; }

    /// The record of an element.
    [[nodiscard]] ElemState operator[](std::int64_t index) const noexcept {
        return m_narrow ? m_narrow[slot(index)].unpack() : m_wide[slot(index)].unpack();
    }

    /// @{
    /// Replaces the record of an element, or one part of it.
    void set(std::int64_t index, const ElemState& state) noexcept {
        if (m_narrow) {
            m_narrow[slot(index)] = Narrow(state);
        } else {
            m_wide[slot(index)] = Wide(state);
        }
    }

    void setNext(std::int64_t index, std::int64_t next) noexcept {
        ElemState state = (*this)[index];
        state.nextElement = next;
        set(index, state);
    }
    void setPrevious(std::int64_t index, std::int64_t previous) noexcept {
        ElemState state = (*this)[index];
        state.previousElement = previous;
        set(index, state);
    }
    void setAllocationState(std::int64_t index, ElemState::AllocationState allocationState) noexcept {
        ElemState state = (*this)[index];
        state.allocationState = allocationState;
        set(index, state);
    }
    /// @}

private:
    [[nodiscard]] static std::size_t slot(std::int64_t index) noexcept { return static_cast<std::size_t>(index); }

    std::size_t m_size;
    std::unique_ptr<Narrow[]> m_narrow; ///< Exactly one of the two arrays exists.
    std::unique_ptr<Wide[]> m_wide;
};

} // namespace Kiln::Tessel
