#include <resource/confined_file.h>

#include <resource/resource_path.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#if defined(SYS_openat2) && __has_include(<linux/openat2.h>)
#include <linux/openat2.h>
#define KILN_HAS_OPENAT2
#endif

namespace Kiln {

namespace {

namespace fs = std::filesystem;

constexpr int DIRECTORY_FLAGS = O_PATH | O_DIRECTORY | O_CLOEXEC;

bool isAbsolute(std::string_view path) {
    return path.starts_with('/');
}

InputFile outside() {
    InputFile file;
    file.status = InputFile::Status::OUTSIDE;
    file.problem = OUTSIDE_PROBLEM;
    return file;
}

/// Whether an absolute path begins with the directory's name and does not leave it by "..".
bool isNamedBeneath(std::string_view path, const std::string& directory) {
    std::error_code error;
    std::string beginning = fs::absolute(directory.empty() ? "." : directory, error).lexically_normal();
    if (!beginning.ends_with('/')) {
        beginning += '/';
    }
    return !error && path.starts_with(beginning) && !leadsAboveItsBeginning(path.substr(beginning.size()));
}

/// Whether a canonical path names the canonical directory or something beneath it.
bool isBeneath(const fs::path& path, const fs::path& directory) {
    return std::mismatch(directory.begin(), directory.end(), path.begin(), path.end()).first == directory.end();
}

/// Opens a canonical path. A component that has become a link since the path was resolved is refused.
int openWithoutLinks(const fs::path& directory, const fs::path& path, int flags) {
    const fs::path relative = path.lexically_relative(directory);
    FileDescriptor parent(::open(directory.c_str(), DIRECTORY_FLAGS, 0));
    for (auto component = relative.begin(); parent.isOpen() && component != relative.end(); ++component) {
        const bool isLast = std::next(component) == relative.end();
        const int componentFlags = (isLast ? flags : DIRECTORY_FLAGS) | O_NOFOLLOW;
        FileDescriptor file(::openat(parent.get(), component->c_str(), componentFlags, 0));
        parent = std::move(file);
    }
    return parent.release();
}

/// Whether a path that leads to no file would lead beneath the directory if it did.
bool wouldBeBeneath(const std::string& path, const fs::path& directory) {
    std::error_code error;
    const fs::path target = fs::weakly_canonical(path, error);
    return !error && isBeneath(target, directory);
}

/// Follows all links of a path, checks where it has led, and opens that without following any.
InputFile openResolved(const std::string& directoryName, const std::string& path, int flags) {
    std::error_code error;
    const fs::path directory = fs::canonical(directoryName.empty() ? "." : directoryName, error);
    if (error) {
        return InputFile::fromError(error.value());
    }
    const std::string fullPath = isAbsolute(path) ? path : pathUnder(directoryName, path);
    const fs::path target = fs::canonical(fullPath, error);
    if (error) {
        InputFile file = InputFile::fromError(error.value());
        const bool isMissing = file.status == InputFile::Status::MISSING;
        return isMissing && isAbsolute(path) && !wouldBeBeneath(path, directory) ? outside() : std::move(file);
    }
    return isBeneath(target, directory) ? InputFile::fromOpen(openWithoutLinks(directory, target, flags)) : outside();
}

/// Lets the kernel open a relative path without leaving the directory. Returns -1 and sets errno on failure.
int openByKernel([[maybe_unused]] int directory, [[maybe_unused]] const char* path, [[maybe_unused]] int flags) {
#if defined(KILN_HAS_OPENAT2)
    open_how how{};
    how.flags = static_cast<unsigned>(flags);
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    return static_cast<int>(::syscall(SYS_openat2, directory, path, &how, sizeof how));
#else
    errno = ENOSYS;
    return -1;
#endif
}

/// Whether openByKernel() failed without knowing where the path leads: the kernel does not have the call or a filter
/// forbids it, there is a link that is absolute or leads out and perhaps back, or files were moved meanwhile.
bool isUndecided(int error) {
    return error == ENOSYS || error == EPERM || error == EINVAL || error == E2BIG || error == EXDEV || error == EAGAIN;
}

InputFile openRelative(const std::string& directoryName, const std::string& path, int flags) {
    FileDescriptor directory;
    if (!directoryName.empty()) {
        directory = FileDescriptor(::open(directoryName.c_str(), DIRECTORY_FLAGS, 0));
        if (!directory.isOpen()) {
            return InputFile::fromError(errno);
        }
    }
    const int file = openByKernel(directory.isOpen() ? directory.get() : AT_FDCWD, path.c_str(), flags);
    if (file < 0 && isUndecided(errno)) {
        return openResolved(directoryName, path, flags);
    }
    return InputFile::fromOpen(file);
}

} // namespace

std::string pathUnder(const std::string& directory, std::string_view path) {
    std::string result = directory;
    if (!result.empty() && result.back() != '/') {
        result += '/';
    }
    return result.append(path);
}

InputFile openBeneath(const ConfinedDirectory& directory, const std::string& path, int flags) {
    if (!isAbsolute(path)) {
        if (leadsAboveItsBeginning(path)) {
            return outside();
        }
        if (directory.allowsOutsideLinks) {
            return InputFile::fromOpen(::open(pathUnder(directory.name, path).c_str(), flags, 0));
        }
        return openRelative(directory.name, path, flags);
    }
    if (directory.allowsOutsideLinks && isNamedBeneath(path, directory.name)) {
        return InputFile::fromOpen(::open(path.c_str(), flags, 0));
    }
    return openResolved(directory.name, path, flags);
}

} // namespace Kiln
