#include "weak_combine.h"

#include <atomic>
#include <cstdint>

namespace Kiln {

namespace TestSupport {

namespace {

UuidScript* s_script = nullptr;

} // namespace

UuidScript::UuidScript(std::deque<Uuid> toGenerate) : m_toGenerate(std::move(toGenerate)) {
    s_script = this;
}

UuidScript::~UuidScript() {
    s_script = nullptr;
}

} // namespace TestSupport

// All replace the common library's definitions in this whole program: the libraries' calls are bound to the
// executable's symbols.

Uuid Uuid::combine(const Uuid& first, const Uuid& second) noexcept {
    if (TestSupport::s_script) {
        TestSupport::s_script->m_combined.emplace(first, second);
    }
    const std::uint64_t low = first.high() == TestSupport::COLLIDING_INSTANCE.high() ? second.low() % 16 : second.low();
    return {first.high(), low};
}

UuidCombiner::UuidCombiner(const Uuid& first) noexcept : m_first(first), m_high(0), m_low(0) {}

Uuid UuidCombiner::operator()(const Uuid& second) const noexcept {
    return Uuid::combine(m_first, second);
}

Uuid Uuid::generate() {
    static std::atomic<std::uint64_t> s_count{0};
    if (TestSupport::UuidScript* const script = TestSupport::s_script) {
        ++script->m_generatedCount;
        if (!script->m_toGenerate.empty()) {
            const Uuid next = script->m_toGenerate.front();
            script->m_toGenerate.pop_front();
            return next;
        }
    }
    return {0xF000000000000000ULL + ++s_count, 0};
}

} // namespace Kiln
