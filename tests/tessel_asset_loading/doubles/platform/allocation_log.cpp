#include "allocation_log.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace Kiln::TestSupport {

namespace {

thread_local AllocationLog* s_log = nullptr;

} // namespace

AllocationLog::AllocationLog() {
    s_log = this;
}

AllocationLog::~AllocationLog() {
    s_log = nullptr;
}

std::size_t AllocationLog::count(std::size_t size) const {
    return static_cast<std::size_t>(std::count(m_sizes.begin(), m_sizes.end(), size));
}

void AllocationLog::record(std::size_t size) {
    s_log = nullptr; // The record's own blocks do not count.
    m_sizes.push_back(size);
    s_log = this;
}

} // namespace Kiln::TestSupport

// All forms that allocate one object, so that each pair matches even if sanitizers replace some operators.

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (Kiln::TestSupport::s_log) {
        Kiln::TestSupport::s_log->record(size);
    }
    return std::malloc(size > 0 ? size : 1);
}

void* operator new(std::size_t size) {
    if (void* const block = operator new(size, std::nothrow)) {
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

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);
}
