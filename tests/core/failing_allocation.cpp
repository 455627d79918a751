#include "failing_allocation.h"

#include <cstdlib>
#include <new>

namespace Kiln::Tests {

namespace {

thread_local bool s_isFailing = false;
thread_local std::ptrdiff_t s_allocatedBlocks = 0;

void* allocate(std::size_t size) noexcept {
    void* const block = s_isFailing ? nullptr : std::malloc(size > 0 ? size : 1);
    s_allocatedBlocks += block ? 1 : 0;
    return block;
}

void deallocate(void* block) noexcept {
    s_allocatedBlocks -= block ? 1 : 0;
    std::free(block);
}

} // namespace

FailingAllocation::FailingAllocation() {
    s_isFailing = true;
}

FailingAllocation::~FailingAllocation() {
    s_isFailing = false;
}

std::ptrdiff_t allocatedBlocks() {
    return s_allocatedBlocks;
}

} // namespace Kiln::Tests

// All forms that allocate one object, so that each pair is consistent whoever else replaces operators (sanitizers do).

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Kiln::Tests::allocate(size);
}

void* operator new(std::size_t size) {
    if (void* const block = Kiln::Tests::allocate(size)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    Kiln::Tests::deallocate(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    Kiln::Tests::deallocate(block);
}

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    Kiln::Tests::deallocate(block);
}
