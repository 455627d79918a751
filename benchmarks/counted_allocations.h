#pragma once

#include <cstddef>

namespace Kiln::Benchmarks {

/// Number of allocations of the current thread so far, in a program that is built with counted_allocations.cpp.
[[nodiscard]] std::size_t allocationsCount() noexcept;

} // namespace Kiln::Benchmarks
