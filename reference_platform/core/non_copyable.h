#pragma once

namespace Kiln {

/// Base of classes whose objects have identity and must be neither copied nor moved.
class NonCopyable {
public:
    NonCopyable(const NonCopyable&) = delete;
    NonCopyable& operator=(const NonCopyable&) = delete;

protected:
    NonCopyable() = default;
    ~NonCopyable() = default;
};

} // namespace Kiln
