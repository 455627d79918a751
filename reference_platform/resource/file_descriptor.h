#pragma once

#include <string>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace Kiln {

/// Owns a file descriptor; -1 stands for none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor() {
        if (isOpen()) {
            ::close(m_descriptor);
        }
    }

    [[nodiscard]] bool isOpen() const noexcept { return m_descriptor >= 0; }
    [[nodiscard]] int get() const noexcept { return m_descriptor; }

    /// Gives up the ownership.
    [[nodiscard]] int release() noexcept { return std::exchange(m_descriptor, -1); }

    /// Some file systems report a failed write only here. The descriptor is closed in any case.
    bool close() noexcept { return ::close(std::exchange(m_descriptor, -1)) == 0; }

private:
    int m_descriptor = -1;
};

/// The text for an errno; as strerror, but thread-safe.
[[nodiscard]] inline std::string describeError(int error) {
    return std::generic_category().message(error);
}

} // namespace Kiln
