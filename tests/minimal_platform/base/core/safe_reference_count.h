#pragma once

#include <core/api.h>

#include <atomic>

namespace Kiln {

/// A new object has one reference, which makeSmart() hands to the first SmartPointer.
class MINIMAL_API SafeReferenceCount {
public:
    void incRef() const noexcept { ++m_count; }
    void decRef() const noexcept {
        if (--m_count == 0) {
            delete this;
        }
    }

protected:
    SafeReferenceCount() = default;
    SafeReferenceCount(const SafeReferenceCount& /*other*/) {}
    SafeReferenceCount& operator=(const SafeReferenceCount& /*other*/) { return *this; }
    virtual ~SafeReferenceCount();

private:
    mutable std::atomic<int> m_count{1};
};

} // namespace Kiln
