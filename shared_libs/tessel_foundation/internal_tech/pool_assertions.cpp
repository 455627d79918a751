#include <core/assertions.h>
#include <tessel_foundation/internal_tech/pool_assertions.h>

#include <string_view>

namespace Kiln::Tessel::PoolAssertions {
namespace {

constexpr std::string_view LEAK_TEXT =
    "Memory leak detected in the pool, please, deallocate objects before pool destruction!";

void report(std::string_view expression, std::string_view message = {}) {
    reportAssertionFailure({.expression = expression,
                            .message = message,
                            .file = "shared_libs/tessel_foundation/internal_tech/multiblock_pool"});
}

} // namespace

void reportBlockNotEmpty() {
    report("empty()", LEAK_TEXT);
}

void reportActiveComponents() {
    report("Active components still exist!", LEAK_TEXT);
}

void reportNoAllocator() {
    report("allocator != nullptr");
}

void reportNotInBuffer() {
    report("isBufferPtr(object)");
}

void reportNotActive() {
    report("m_elementStates[idx].allocationState == ElemState::AllocationState::ACTIVE");
}

void reportNoFreeElement() {
    report("m_nextFree != ElemState::NO_ELEMENT", "The block is full");
}

void reportFreeChainBroken() {
    report("m_elementStates[idx].allocationState == ElemState::AllocationState::FREE", "The free chain is broken");
}

void reportFreedTwice() {
    report("m_elementStates[idx].allocationState != ElemState::AllocationState::FREE", "The object is freed already");
}

} // namespace Kiln::Tessel::PoolAssertions
