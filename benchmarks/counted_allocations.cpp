#include "counted_allocations.h"

#include <cstdlib>
#include <new>

namespace Kiln::Benchmarks {

namespace {

thread_local std::size_t s_allocations = 0;

} // namespace

std::size_t allocationsCount() noexcept {
    return s_allocations;
}

} // namespace Kiln::Benchmarks

// The library's forms for arrays and without exceptions call this one.
void* operator new(std::size_t size) {
    ++Kiln::Benchmarks::s_allocations;
    if (void* const block = std::malloc(size > 0 ? size : 1)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
