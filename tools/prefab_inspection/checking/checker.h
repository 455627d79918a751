#pragma once

#include <prefab_inspection/checking/check_cache.h>
#include <prefab_inspection/export.h>
#include <prefab_inspection/findings/finding.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabInspection {

class PrefabFiles;

struct CheckOptions {
    /// Number of threads that read files; 0 for one per processor.
    std::size_t threads = 0;

    /// Whether prefabs that no other checked prefab nests are reported (FindingCode::UNUSED_PREFAB).
    bool reportsUnused = false;

    /// Texts that replace the files of these resource paths, which need not exist: unsaved buffers of an editor.
    /// The texts must outlive the check.
    std::map<std::string, std::string_view> buffers;

    /// Keeps what was found in single files for other checks. Null for none; it must outlive the check. The result is
    /// the same with it and without it.
    ICheckCache* cache = nullptr;

    /// Receives the well-formed files that were parsed, so that a caller who composes them afterwards need not read
    /// them again. Null for none; it must outlive the check. The result is the same with it and without it.
    PrefabFiles* files = nullptr;

    /// Called after each file that has been read, with the number of files read so far and its path, by one thread at
    /// a time. May be empty.
    std::function<void(std::size_t filesCount, const std::string& file)> onFileRead;
};

/// A prefab file that a check has read.
struct CheckedFile {
    std::string path;
    bool isTarget = false;           ///< Named by the caller, not only nested in another file.
    std::size_t bytes = 0;           ///< 0 if the file could not be read.
    std::vector<std::string> nested; ///< Paths that the file names, each once, sorted.
    std::uint64_t contentHash = 0;   ///< Of the bytes; the same in every process.
};

struct CheckResult {
    std::vector<Finding> findings;  ///< Sorted by file, range, code and message.
    std::vector<CheckedFile> files; ///< Sorted by path.
};

/// Checks prefabs, which are named by resource paths, and all prefabs nested in them, each file once. Neither loads
/// prefabs into the service nor changes anything. Component types are those of the process's ComponentLibrary.
///
/// A prefab that has no finding of severity ERROR, neither in its own file nor in those nested in it, loads without
/// errors. The result does not depend on the order of the targets or on the number of threads.
///
/// Failure: every problem with files is a finding. Threads: any; not while component types are registered.
[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT CheckResult checkPrefabs(const std::vector<std::string>& targets,
                                                                     const CheckOptions& options = {});

} // namespace Kiln::PrefabInspection
