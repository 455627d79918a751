#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Kiln::PrefabEditing {

/// The outcome of reading a file.
struct TextFile {
    enum class Status { READ, MISSING, FAILED };

    Status status = Status::MISSING;
    std::string text;
    std::string problem; ///< Unless the status is READ.
};

/// Reads a regular file of any name. Does not block on pipes and devices, which fail as files of more than `maxSize`
/// bytes do.
[[nodiscard]] TextFile readTextFile(const std::string& name, std::size_t maxSize);

/// Replaces the content of a file, or makes the file. Another process sees the old or the new content, and so does
/// everybody after a failure, a kill or a loss of power at any moment: the text is written to a new file beside it,
/// flushed and renamed, and then the folder is flushed. The file keeps its permissions, and a symbolic link stays and
/// leads to the new content. A process that is killed may leave its new file, "NAME.<number>.tmp", which disturbs
/// nobody.
///
/// Returns what went wrong, as a sentence without full stop; empty on success. After a failure the file is unchanged,
/// unless only the folder could not be flushed, which the sentence says.
[[nodiscard]] std::string replaceTextFile(const std::string& name, std::string_view text);

} // namespace Kiln::PrefabEditing
