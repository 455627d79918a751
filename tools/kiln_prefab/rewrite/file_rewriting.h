#pragma once

#include <kiln_prefab/check/resource_roots.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

struct RewriteOptions {
    bool writesFiles = false; ///< Whether files that are not canonical are replaced.
    bool makesPatch = false;
    bool keepsText = false;
    std::size_t threads = 0; ///< 0 for one per processor.

    /// Called after each file, with the number of files so far, by one thread at a time. May be empty.
    std::function<void(std::size_t filesCount, const std::string& path)> onFile;
};

/// A file in canonical form.
struct RewrittenFile {
    std::string path;       ///< Resource path.
    bool isChanged = false; ///< Whether the canonical form differs from the file.
    std::string text;       ///< The canonical form, if RewriteOptions::keepsText is set.
    std::string patch;      ///< The changes, if RewriteOptions::makesPatch is set.

    /// Why there is no canonical form, or why it could not be written: a sentence without full stop. Usually empty.
    std::string problem;
};

/// Rewrites files on several threads, each atomically. The result has the order of the paths.
[[nodiscard]] std::vector<RewrittenFile> rewriteFiles(const std::vector<std::string>& paths, const ResourceRoots& roots,
                                                      const RewriteOptions& options);

} // namespace Kiln::PrefabTool
