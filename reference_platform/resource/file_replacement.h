#pragma once

#include <resource/text_sink.h>

#include <functional>
#include <string>

namespace Kiln {

/// Atomically replaces a file's content by what `writeText` writes: a program that opens the file sees the old or the
/// new content, also after the process was killed or the system has lost its power. Permissions are kept. A symbolic
/// link stays, and the file that it leads to is replaced; a link that leads to no file is refused. Only regular files
/// are replaced.
///
/// The text goes to a temporary file in the same folder, NAME.<16 hexadecimal digits>.tmp, which is flushed to the
/// device and renamed; then the folder is flushed. The temporary file is removed on every failure and when `writeText`
/// throws. A process that is killed leaves at most this one, which disturbs no later call.
///
/// On failure returns false and sets `problem`; the file is unchanged, unless only flushing the folder failed, which
/// `problem` says.
[[nodiscard]] bool replaceFile(const std::string& fileName, const std::function<void(TextSink& file)>& writeText,
                               std::string& problem);

} // namespace Kiln
