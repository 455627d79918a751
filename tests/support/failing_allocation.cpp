#include <support/failing_allocation.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

namespace Kiln::TestSupport {

namespace {

constexpr std::size_t NEVER = std::numeric_limits<std::size_t>::max();

thread_local std::size_t s_nextAllocation = 0;
thread_local std::size_t s_firstFailure = NEVER; ///< The allocations from here to s_lastFailure fail.
thread_local std::size_t s_lastFailure = 0;
thread_local std::ptrdiff_t s_allocatedBlocks = 0;

[[nodiscard]] bool isFailing() noexcept {
    const std::size_t index = s_nextAllocation++;
    return index >= s_firstFailure && index <= s_lastFailure;
}

void failFrom(std::size_t first, std::size_t last) {
    s_nextAllocation = 0;
    s_firstFailure = first;
    s_lastFailure = last;
}

void* noteBlock(void* block) noexcept {
    s_allocatedBlocks += block ? 1 : 0;
    return block;
}

void* allocate(std::size_t size) noexcept {
    return noteBlock(isFailing() ? nullptr : std::malloc(size > 0 ? size : 1));
}

void* allocate(std::size_t size, std::align_val_t alignment) noexcept {
    const auto bytes = static_cast<std::size_t>(alignment);
    const std::size_t rounded = (std::max<std::size_t>(size, 1) + bytes - 1) / bytes * bytes;
    return noteBlock(isFailing() ? nullptr : std::aligned_alloc(bytes, rounded));
}

void* orThrow(void* block) {
    if (!block) {
        throw std::bad_alloc();
    }
    return block;
}

void deallocate(void* block) noexcept {
    s_allocatedBlocks -= block ? 1 : 0;
    std::free(block);
}

} // namespace

FailingAllocation::FailingAllocation() {
    failFrom(0, NEVER);
}

FailingAllocation::~FailingAllocation() {
    failFrom(NEVER, 0);
}

AllocationFault::AllocationFault(std::size_t index, Duration duration) {
    failFrom(index, duration == Duration::ONCE ? index : NEVER);
}

AllocationFault::~AllocationFault() {
    failFrom(NEVER, 0);
}

bool AllocationFault::hasOccurred() const {
    return s_nextAllocation > s_firstFailure;
}

std::ptrdiff_t allocatedBlocks() {
    return s_allocatedBlocks;
}

} // namespace Kiln::TestSupport

// All forms that allocate one object, so that each pair is consistent whoever else replaces operators (sanitizers do).

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Kiln::TestSupport::allocate(size);
}

void* operator new(std::size_t size) {
    return Kiln::TestSupport::orThrow(Kiln::TestSupport::allocate(size));
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return Kiln::TestSupport::orThrow(Kiln::TestSupport::allocate(size, alignment));
}

void operator delete(void* block) noexcept {
    Kiln::TestSupport::deallocate(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    Kiln::TestSupport::deallocate(block);
}

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    Kiln::TestSupport::deallocate(block);
}

void operator delete(void* block, std::align_val_t /*alignment*/) noexcept {
    Kiln::TestSupport::deallocate(block);
}

void operator delete(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    Kiln::TestSupport::deallocate(block);
}
