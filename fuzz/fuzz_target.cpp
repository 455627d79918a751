#include "fuzz_target.h"

#include <core/assertions.h>

#include <cstdio>
#include <cstdlib>

namespace Kiln::Fuzz {

namespace {

void failOnAssertion(const AssertionFailure& failure) {
    std::fprintf(stderr, "assertion failed: %s (%s)\n", std::string(failure.expression).c_str(),
                 std::string(failure.message).c_str());
    std::abort();
}

} // namespace

void require(bool condition, const char* property) {
    if (!condition) {
        std::fprintf(stderr, "this does not hold: %s\n", property);
        std::abort();
    }
}

Environment::Environment(const char* target)
    : m_target(target), m_sink([this](const LogMessage& /*message*/) { ++m_messages; }) {
    setAssertionHandler(failOnAssertion);
}

Environment::~Environment() {
    std::fprintf(stderr, "%s: %zu inputs, %zu of them well formed, %zu log messages\n", m_target, m_inputs,
                 m_wellFormed, m_messages.load());
}

} // namespace Kiln::Fuzz
