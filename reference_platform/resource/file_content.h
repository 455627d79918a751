#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace Kiln {

/// The bytes of a file or text, followed by a NUL.
struct FileContent {
    std::unique_ptr<char[]> bytes; ///< size + 1 bytes; the last one is NUL.
    std::size_t size = 0;

    [[nodiscard]] static FileContent copyOf(std::string_view text);
    [[nodiscard]] std::string_view text() const noexcept { return {bytes.get(), size}; }
};

enum class ReadResult { SUCCESS, MISSING, FAILURE };

/// Reads a whole file. `problem` is set on FAILURE: the operating system's message, or "is a directory".
[[nodiscard]] ReadResult readFile(const std::string& fileName, FileContent& content, std::string& problem);

/// Receives a text piece by piece.
class TextSink {
public:
    virtual ~TextSink() = default;
    virtual void write(std::string_view piece) = 0;
};

/// Atomically replaces a file's content by what `writeText` writes: a program that opens the file sees the old or the
/// new content. A symbolic link stays, and the file that it leads to is replaced; permissions are kept. Only regular
/// files are replaced. On failure returns false, leaves the file unchanged and sets `problem`.
[[nodiscard]] bool replaceFile(const std::string& fileName, const std::function<void(TextSink& file)>& writeText,
                               std::string& problem);

} // namespace Kiln
