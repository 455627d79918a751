#include <resource/file_content.h>

#include <core/formatter.h>
#include <core/non_copyable.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kiln {

namespace {

// Size of the first buffer for a file that does not report its size (a pipe, for instance).
constexpr std::size_t UNKNOWN_SIZE_BUFFER = std::size_t{64} * 1024;

class FileDescriptor : NonCopyable {
public:
    FileDescriptor(const char* path, int flags, mode_t mode = 0)
        : m_descriptor(::open(path, flags | O_CLOEXEC, mode)) {}
    ~FileDescriptor() {
        if (isOpen()) {
            ::close(m_descriptor);
        }
    }

    [[nodiscard]] bool isOpen() const noexcept { return m_descriptor >= 0; }
    [[nodiscard]] int get() const noexcept { return m_descriptor; }

    /// Some file systems report a failed write only here.
    bool close() noexcept { return ::close(std::exchange(m_descriptor, -1)) == 0; }

private:
    int m_descriptor;
};

/// As strerror, but thread-safe.
std::string describe(int error) {
    return std::generic_category().message(error);
}

ssize_t readSome(int descriptor, char* buffer, std::size_t size) {
    ssize_t count;
    do {
        count = ::read(descriptor, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

/// Reads the rest of a file into a buffer that has `capacity` bytes, at least one, and grows when it is full. Returns
/// 0, or the errno of the read that failed.
int readToEnd(int descriptor, std::size_t capacity, FileContent& content) {
    auto bytes = std::make_unique_for_overwrite<char[]>(capacity);
    std::size_t size = 0;
    while (true) {
        const ssize_t count = readSome(descriptor, bytes.get() + size, capacity - size);
        if (count < 0) {
            return errno;
        }
        if (count == 0) {
            break;
        }
        size += static_cast<std::size_t>(count);
        if (size == capacity) {
            auto larger = std::make_unique_for_overwrite<char[]>(capacity * 2);
            std::copy_n(bytes.get(), size, larger.get());
            bytes = std::move(larger);
            capacity *= 2;
        }
    }
    bytes[size] = '\0';
    content = {std::move(bytes), size};
    return 0;
}

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// Writes to an open file until a write fails.
class FileSink final : public TextSink {
public:
    explicit FileSink(const FileDescriptor& file) : m_file(file) {}

    void write(std::string_view piece) override {
        if (m_error == 0 && !writeAll(m_file.get(), piece)) {
            m_error = errno;
        }
    }

    /// The errno of the first failed write; 0 if all text has been written.
    [[nodiscard]] int error() const noexcept { return m_error; }

private:
    const FileDescriptor& m_file;
    int m_error = 0;
};

/// The file that a chain of symbolic links leads to; the name itself if that file does not exist.
std::string followLinks(const std::string& fileName) {
    char* resolved = ::realpath(fileName.c_str(), nullptr);
    if (!resolved) {
        return fileName;
    }
    std::string result = resolved;
    std::free(resolved);
    return result;
}

/// A name in the file's directory, so that a rename stays within the file system. No other process or thread uses it.
std::string temporaryName(const std::string& fileName) {
    static std::atomic<unsigned> counter{0};
    return formatText("%s.%ld.%u.tmp", fileName.c_str(), static_cast<long>(::getpid()),
                      counter.fetch_add(1, std::memory_order_relaxed));
}

} // namespace

FileContent FileContent::copyOf(std::string_view text) {
    FileContent content{std::make_unique_for_overwrite<char[]>(text.size() + 1), text.size()};
    std::copy(text.begin(), text.end(), content.bytes.get());
    content.bytes[text.size()] = '\0';
    return content;
}

ReadResult readFile(const std::string& fileName, FileContent& content, std::string& problem) {
    const FileDescriptor file(fileName.c_str(), O_RDONLY);
    if (!file.isOpen()) {
        const int error = errno;
        if (error == ENOENT || error == ENOTDIR) {
            return ReadResult::MISSING;
        }
        problem = describe(error);
        return ReadResult::FAILURE;
    }

    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        problem = describe(errno);
        return ReadResult::FAILURE;
    }
    if (S_ISDIR(status.st_mode)) {
        problem = "is a directory";
        return ReadResult::FAILURE;
    }

    // One byte more than the file's size: the read that detects the end needs room, and the byte holds the NUL later.
    const std::size_t capacity =
        status.st_size > 0 ? static_cast<std::size_t>(status.st_size) + 1 : UNKNOWN_SIZE_BUFFER;
    if (const int error = readToEnd(file.get(), capacity, content); error != 0) {
        problem = describe(error);
        return ReadResult::FAILURE;
    }
    return ReadResult::SUCCESS;
}

bool replaceFile(const std::string& fileName, const std::function<void(TextSink& file)>& writeText,
                 std::string& problem) {
    const std::string target = followLinks(fileName);
    struct stat status {};
    const bool exists = ::stat(target.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) {
        problem = S_ISDIR(status.st_mode) ? "is a directory" : "is not a regular file";
        return false;
    }

    const std::string temporary = temporaryName(target);
    FileDescriptor file(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
    if (!file.isOpen()) {
        problem = describe(errno);
        return false;
    }
    const auto write = [&file, &writeText] {
        FileSink sink(file);
        writeText(sink);
        errno = sink.error();
        return errno == 0;
    };
    const bool isReplaced = (!exists || ::fchmod(file.get(), status.st_mode & 07777) == 0) && write() && file.close() &&
                            std::rename(temporary.c_str(), target.c_str()) == 0;
    if (!isReplaced) {
        problem = describe(errno);
        ::unlink(temporary.c_str());
    }
    return isReplaced;
}

} // namespace Kiln
