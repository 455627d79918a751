#pragma once

#include <core/safe_reference_count.h>

#include <atomic>

namespace Kiln::Tests {

/// Counts its destructions in a counter of the test.
class Counted : public SafeReferenceCount {
public:
    explicit Counted(std::atomic<int>& destroyed) : m_destroyed(&destroyed) {}
    Counted(const Counted&) = default;
    Counted& operator=(const Counted&) = default;
    ~Counted() override { ++*m_destroyed; }

    int value = 0;

private:
    std::atomic<int>* m_destroyed;
};

class DerivedCounted : public Counted {
public:
    using Counted::Counted;
};

} // namespace Kiln::Tests
