#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>

namespace Kiln::AgreementTests {

/// Choices that are the same on every platform for the same seed; the distributions of the standard library are not.
class RandomChoice {
public:
    explicit RandomChoice(std::uint64_t seed) : m_engine(seed) {}

    /// A number below `limit`, which is not 0.
    [[nodiscard]] std::size_t below(std::size_t limit) { return static_cast<std::size_t>(m_engine() % limit); }

    [[nodiscard]] bool isOneIn(std::size_t number) { return below(number) == 0; }

    [[nodiscard]] std::uint64_t bits() { return m_engine(); }

    /// An element of a container that is not empty.
    template <class Container>
    [[nodiscard]] const auto& pick(const Container& container) {
        return *std::next(std::begin(container), static_cast<std::ptrdiff_t>(below(std::size(container))));
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace Kiln::AgreementTests
