#include "text_file.h"

#include <core/non_copyable.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kiln::PrefabEditing {

namespace {

namespace fs = std::filesystem;

[[nodiscard]] std::string describe(int error) {
    return std::generic_category().message(error);
}

class Descriptor : NonCopyable {
public:
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    ~Descriptor() { close(); }

    [[nodiscard]] bool isOpen() const noexcept { return m_descriptor >= 0; }
    [[nodiscard]] int get() const noexcept { return m_descriptor; }

    bool close() noexcept {
        const int descriptor = m_descriptor;
        m_descriptor = -1;
        return descriptor < 0 || ::close(descriptor) == 0;
    }

private:
    int m_descriptor;
};

[[nodiscard]] TextFile failure(std::string problem) {
    return {TextFile::Status::FAILED, {}, std::move(problem)};
}

/// Appends the rest of a file to a text. Returns false and sets errno on failure, and EFBIG for a file that is too
/// large.
[[nodiscard]] bool readAll(int descriptor, std::size_t maxSize, std::string& text) {
    std::array<char, std::size_t{64} * 1024> buffer; // Not initialised: read() fills it.
    while (true) {
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count == 0) {
            return true;
        }
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
        if (text.size() > maxSize) {
            errno = EFBIG;
            return false;
        }
    }
}

[[nodiscard]] bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

/// The file that a name leads to, through all symbolic links; none if a link leads nowhere.
[[nodiscard]] std::optional<std::string> linkTarget(const std::string& name) {
    std::error_code error;
    if (!fs::is_symlink(name, error)) {
        return name;
    }
    const fs::path target = fs::canonical(name, error);
    return error ? std::nullopt : std::optional(target.string());
}

/// A new file beside the one that it is going to replace. Removes the file unless it has replaced the other.
class NewFile : NonCopyable {
public:
    explicit NewFile(const std::string& target) {
        // The process's id makes the name unique among the processes that might replace the file at the same time. An
        // earlier process of that id may have left a file.
        const std::string stem = target + "." + std::to_string(::getpid());
        for (int number = 0; number < MAX_LEFT_FILES; ++number) {
            m_name = stem + (number == 0 ? "" : "-" + std::to_string(number)) + ".tmp";
            m_descriptor = ::open(m_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (m_descriptor >= 0 || errno != EEXIST) {
                break;
            }
        }
        m_exists = m_descriptor >= 0;
    }

    ~NewFile() {
        Descriptor(m_descriptor).close();
        if (m_exists) {
            ::unlink(m_name.c_str());
        }
    }

    /// Writes the text, flushes it to the device and replaces the target. Returns false and sets errno on failure.
    [[nodiscard]] bool replace(const std::string& target, std::string_view text, const struct stat* permissions) {
        if (!m_exists || (permissions && ::fchmod(m_descriptor, permissions->st_mode & 07777U) != 0) ||
            !writeAll(m_descriptor, text) || ::fsync(m_descriptor) != 0) {
            return false;
        }
        if (!Descriptor(std::exchange(m_descriptor, -1)).close() || std::rename(m_name.c_str(), target.c_str()) != 0) {
            return false;
        }
        m_exists = false;
        return true;
    }

private:
    static constexpr int MAX_LEFT_FILES = 1000;

    std::string m_name;
    int m_descriptor = -1;
    bool m_exists = false;
};

/// Flushes the folder of a file, so that a renamed file keeps its new name after a loss of power. Returns false and
/// sets errno on failure.
[[nodiscard]] bool flushFolder(const std::string& fileName) {
    const fs::path folder = fs::path(fileName).parent_path();
    const Descriptor descriptor(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0));
    if (!descriptor.isOpen()) {
        return errno == EACCES; // A folder may permit changes, but no reading. The system flushes it later.
    }
    return ::fsync(descriptor.get()) == 0 || errno == EINVAL; // Some file systems flush no folders.
}

} // namespace

TextFile readTextFile(const std::string& name, std::size_t maxSize) {
    const Descriptor file(::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0));
    if (!file.isOpen()) {
        const bool isMissing = errno == ENOENT || errno == ENOTDIR;
        return {isMissing ? TextFile::Status::MISSING : TextFile::Status::FAILED, {}, describe(errno)};
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return failure("is not a regular file");
    }
    TextFile result;
    result.status = TextFile::Status::READ;
    result.text.reserve(std::min(static_cast<std::size_t>(status.st_size), maxSize));
    if (!readAll(file.get(), maxSize, result.text)) {
        return failure(errno == EFBIG ? "is larger than the limit of " + std::to_string(maxSize) + " bytes"
                                      : describe(errno));
    }
    return result;
}

std::string replaceTextFile(const std::string& name, std::string_view text) {
    const std::optional<std::string> target = linkTarget(name);
    if (!target) {
        return "'" + name + "' is a symbolic link that leads to no file";
    }
    struct stat status {};
    const bool exists = ::stat(target->c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) {
        return "Cannot write '" + name + "': is not a regular file";
    }
    int error = 0;
    {
        NewFile file(*target);
        if (!file.replace(*target, text, exists ? &status : nullptr)) {
            error = errno;
        }
    }
    if (error != 0) {
        return "Cannot write '" + name + "': " + describe(error);
    }
    if (!flushFolder(*target)) {
        return "Wrote '" + name + "', but cannot flush its folder: " + describe(errno);
    }
    return {};
}

} // namespace Kiln::PrefabEditing
