#include <resource/input_file.h>

#include <core/formatter.h>
#include <resource/resource_limits.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <limits>
#include <memory>
#include <utility>

#include <sys/stat.h>

namespace Kiln {

namespace {

// Size of the first buffer for a file that does not report its size, such as those of procfs.
constexpr std::uint64_t UNKNOWN_SIZE_BUFFER = std::uint64_t{64} * 1024;

/// Largest supported limit: a buffer holds one byte more, and its size must not overflow.
constexpr std::uint64_t MAX_LIMIT = std::numeric_limits<std::ptrdiff_t>::max() - 1;

ssize_t readSome(int descriptor, char* buffer, std::size_t size) {
    ssize_t count;
    do {
        count = ::read(descriptor, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

} // namespace

InputFile InputFile::fromError(int error) {
    InputFile file;
    file.status = error == ENOENT || error == ENOTDIR ? Status::MISSING : Status::FAILED;
    if (file.status == Status::FAILED) {
        file.problem = describeError(error);
    }
    return file;
}

InputFile InputFile::fromOpen(int descriptor) {
    if (descriptor < 0) {
        return fromError(errno);
    }
    InputFile file;
    file.descriptor = FileDescriptor(descriptor);
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) {
        file.status = Status::FAILED;
        file.problem = describeError(errno);
    } else if (!S_ISREG(status.st_mode)) {
        file.status = Status::NOT_REGULAR;
        file.problem = S_ISDIR(status.st_mode) ? "is a directory" : "is not a regular file";
    } else {
        file.status = Status::OPEN;
        file.size = static_cast<std::uint64_t>(status.st_size);
    }
    return file;
}

InputFile openFile(const std::string& fileName) {
    return InputFile::fromOpen(::open(fileName.c_str(), READ_FLAGS, 0));
}

std::string largerThan(std::uint64_t limit) {
    return formatText("is larger than the limit of %llu bytes", static_cast<unsigned long long>(limit));
}

bool readFile(const InputFile& file, FileContent& content, std::string& problem) {
    const std::uint64_t limit = std::min(resourceLimits().fileSize, MAX_LIMIT);
    if (file.size > limit) {
        problem = largerThan(limit);
        return false;
    }
    // One byte more than the file's size: the read that detects the end needs room, and the byte holds the NUL later.
    const std::uint64_t maxCapacity = limit + 1;
    std::uint64_t capacity = std::min(file.size > 0 ? file.size + 1 : UNKNOWN_SIZE_BUFFER, maxCapacity);
    auto bytes = std::make_unique_for_overwrite<char[]>(capacity);
    std::size_t size = 0;
    while (const ssize_t count = readSome(file.descriptor.get(), bytes.get() + size, capacity - size)) {
        if (count < 0) {
            problem = describeError(errno);
            return false;
        }
        size += static_cast<std::size_t>(count);
        if (size < capacity) {
            continue;
        }
        if (capacity == maxCapacity) {
            problem = largerThan(limit);
            return false;
        }
        capacity = std::min(capacity * 2, maxCapacity);
        auto larger = std::make_unique_for_overwrite<char[]>(capacity);
        std::copy_n(bytes.get(), size, larger.get());
        bytes = std::move(larger);
    }
    bytes[size] = '\0';
    content = {std::move(bytes), size};
    return true;
}

} // namespace Kiln
