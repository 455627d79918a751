#include <resource/file_replacement.h>

#include <core/formatter.h>
#include <core/non_copyable.h>
#include <resource/file_descriptor.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kiln {

namespace {

/// Names that exist already are as good as impossible with 64 random bits; more of them mean that something is wrong.
constexpr int MAX_NAMES = 8;

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

/// Writes to an open file in large pieces until a write fails.
class FileSink final : public TextSink {
public:
    explicit FileSink(const FileDescriptor& file) : m_file(file) {}

    void write(std::string_view piece) override {
        m_buffer.append(piece);
        if (m_buffer.size() >= BUFFER_SIZE) {
            flush();
        }
    }

    void flush() {
        if (m_error == 0 && !writeAll(m_file.get(), m_buffer)) {
            m_error = errno;
        }
        m_buffer.clear();
    }

    /// The errno of the first failed write; 0 if all text has been written.
    [[nodiscard]] int error() const noexcept { return m_error; }

private:
    static constexpr std::size_t BUFFER_SIZE = std::size_t{64} * 1024;

    const FileDescriptor& m_file;
    std::string m_buffer;
    int m_error = 0;
};

struct Target {
    std::string folder; ///< Ends in '/', or is empty for the current directory.
    std::string name;
    mode_t mode = 0; ///< Permissions of the existing file.
    bool exists = false;

    [[nodiscard]] std::string path() const { return folder + name; }
};

/// Follows the symbolic links of a name to the file that is to be replaced.
bool findTarget(const std::string& fileName, Target& target, std::string& problem) {
    struct FreeMemory {
        void operator()(char* memory) const { std::free(memory); }
    };
    std::string path = fileName;
    struct stat status {};
    if (const std::unique_ptr<char, FreeMemory> resolved{::realpath(fileName.c_str(), nullptr)}) {
        path = resolved.get();
        target.exists = ::stat(path.c_str(), &status) == 0;
    } else if (errno != ENOENT) {
        problem = describeError(errno);
        return false;
    } else if (::lstat(fileName.c_str(), &status) == 0 && S_ISLNK(status.st_mode)) {
        problem = "is a symbolic link to a file that does not exist";
        return false;
    }
    if (target.exists && !S_ISREG(status.st_mode)) {
        problem = S_ISDIR(status.st_mode) ? "is a directory" : "is not a regular file";
        return false;
    }
    const std::size_t nameStart = path.rfind('/') + 1; // 0 if there is no '/'.
    target.folder = path.substr(0, nameStart);
    target.name = path.substr(nameStart);
    target.mode = status.st_mode & 07777U;
    return true;
}

/// A new file in the folder of the target, so that a rename stays within the file system. Removed at the end unless it
/// was renamed.
class TemporaryFile : NonCopyable {
public:
    ~TemporaryFile() {
        if (!m_path.empty()) {
            ::unlink(m_path.c_str());
        }
    }

    [[nodiscard]] bool create(const Target& target) {
        constexpr std::string_view::size_type SUFFIX_SIZE = 21;
        const std::string beginning = target.folder + target.name.substr(0, NAME_MAX - SUFFIX_SIZE);
        for (int attempt = 0; attempt < MAX_NAMES; ++attempt) {
            std::uint64_t random = 0;
            if (::getentropy(&random, sizeof random) != 0) {
                return false;
            }
            std::string path = formatText("%s.%016llx.tmp", beginning.c_str(), static_cast<unsigned long long>(random));
            m_file = FileDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
            if (m_file.isOpen()) {
                m_path = std::move(path);
                return true;
            }
            if (errno != EEXIST) {
                return false;
            }
        }
        return false;
    }

    [[nodiscard]] FileDescriptor& file() noexcept { return m_file; }

    [[nodiscard]] bool rename(const Target& target) {
        if (std::rename(m_path.c_str(), target.path().c_str()) != 0) {
            return false;
        }
        m_path.clear();
        return true;
    }

private:
    FileDescriptor m_file;
    std::string m_path; ///< Empty if there is nothing to remove.
};

/// Writes the text and waits until it is on the device. On failure returns false and sets errno, as system calls do.
bool writeFlushed(FileDescriptor& file, const std::function<void(TextSink& file)>& writeText) {
    FileSink sink(file);
    writeText(sink);
    sink.flush();
    errno = sink.error();
    return errno == 0 && ::fsync(file.get()) == 0 && file.close();
}

} // namespace

bool replaceFile(const std::string& fileName, const std::function<void(TextSink& file)>& writeText,
                 std::string& problem) {
    Target target;
    if (!findTarget(fileName, target, problem)) {
        return false;
    }
    // Opened first, so that afterwards only the flush itself can fail.
    const std::string folderName = target.folder.empty() ? "." : target.folder;
    const FileDescriptor folder(::open(folderName.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0));
    TemporaryFile temporary;
    const bool isReplaced = folder.isOpen() && temporary.create(target) &&
                            (!target.exists || ::fchmod(temporary.file().get(), target.mode) == 0) &&
                            writeFlushed(temporary.file(), writeText) && temporary.rename(target);
    if (!isReplaced) {
        problem = describeError(errno);
        return false;
    }
    // Some file systems can't flush folders, which EINVAL says.
    if (::fsync(folder.get()) != 0 && errno != EINVAL) {
        problem = "was replaced, but its folder could not be flushed: " + describeError(errno);
        return false;
    }
    return true;
}

} // namespace Kiln
