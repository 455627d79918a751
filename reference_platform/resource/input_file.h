#pragma once

#include <resource/file_content.h>
#include <resource/file_descriptor.h>

#include <cstdint>
#include <string>

#include <fcntl.h>

namespace Kiln {

/// How a file is opened for reading. A named pipe without a writer or a device must not block the thread that tries to
/// read it as a document, and a terminal must not become that of the process.
inline constexpr int READ_FLAGS = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

/// The outcome of opening a file: a regular file, or the reason why there is none.
struct InputFile {
    enum class Status {
        OPEN,        ///< `descriptor` and `size` are set. In all other cases `problem` is, except if MISSING.
        MISSING,     ///< No such file.
        OUTSIDE,     ///< Not beneath the directory in which it was looked up.
        NOT_REGULAR, ///< A directory, pipe, device or socket.
        FAILED,      ///< Any other error.
    };

    Status status = Status::MISSING;
    FileDescriptor descriptor;
    std::uint64_t size = 0; ///< In bytes, when it was opened.
    std::string problem;    ///< The operating system's message, or the module's own.

    [[nodiscard]] bool isOpen() const noexcept { return status == Status::OPEN; }

    /// The outcome of a system call that returned a descriptor, or -1 and errno.
    [[nodiscard]] static InputFile fromOpen(int descriptor);
    [[nodiscard]] static InputFile fromError(int error);
};

/// Opens any file by its name.
[[nodiscard]] InputFile openFile(const std::string& fileName);

/// The problem of a file that is larger than ResourceLimits::fileSize.
[[nodiscard]] std::string largerThan(std::uint64_t limit);

/// Reads a whole open file. On failure returns false and sets `problem`: the operating system's message, or that the
/// file is larger than ResourceLimits::fileSize, which also holds for a file that grows while it is read. A file that
/// shrinks meanwhile yields the bytes that were read.
[[nodiscard]] bool readFile(const InputFile& file, FileContent& content, std::string& problem);

} // namespace Kiln
