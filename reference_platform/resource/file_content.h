#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace Kiln {

/// The bytes of a file or text, in a buffer with room for a terminating NUL behind them.
struct FileContent {
    std::unique_ptr<char[]> bytes; ///< size + 1 bytes; the last one is NUL.
    std::size_t size = 0;

    [[nodiscard]] static FileContent copyOf(std::string_view text);
    [[nodiscard]] std::string_view text() const noexcept { return {bytes.get(), size}; }
};

enum class ReadResult { SUCCESS, MISSING, FAILURE };

/// Reads a whole file. `problem` is set on FAILURE: what the operating system says, or "is a directory".
[[nodiscard]] ReadResult readFile(const std::string& fileName, FileContent& content, std::string& problem);

/// Receives a text piece by piece.
class TextSink {
public:
    virtual ~TextSink() = default;
    virtual void write(std::string_view piece) = 0;
};

/// Replaces a file's content by what `writeText` writes, as a whole: whoever opens the file sees the old content or the
/// new one. A symbolic link stays, and the file it leads to is replaced; permissions are kept. Only regular files are
/// replaced. False on failure, with the file as it was and `problem` set.
[[nodiscard]] bool replaceFile(const std::string& fileName, const std::function<void(TextSink& file)>& writeText,
                               std::string& problem);

} // namespace Kiln
