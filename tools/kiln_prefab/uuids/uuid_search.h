#pragma once

#include <common/uuid.h>
#include <prefab_inspection/findings/finding.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// An object that has a UUID.
struct FoundUuid {
    std::string file;    ///< Resource path: of the file with the object, or of the prefab that the instance is of.
    bool isLive = false; ///< It is the UUID of a live object of an instance of the file, not the one in the file.
    std::string object;  ///< Its name; of a live object the names from the root, separated by '/'.

    /// Where the object is written; of a live object perhaps in a nested file.
    PrefabInspection::Place origin;
};

struct UuidSearch {
    Uuid uuid;
    Uuid instanceUuid;       ///< Of the instances.
    std::size_t threads = 0; ///< Number of threads that read files; 0 for one per processor.

    /// Called after each file with the number of files so far and its path, by one thread at a time. May be empty.
    std::function<void(std::size_t filesCount, const std::string& file)> onFile;
};

struct UuidSearchResult {
    std::vector<FoundUuid> found;      ///< In the order of the files; file UUIDs come before live ones.
    std::vector<std::string> problems; ///< Files that could not be read, as sentences without full stop.
};

/// Searches files for objects with a UUID, and the instances that the files make for live objects with it. A prefab
/// that the loader refuses has no instance. The result does not depend on the number of threads.
[[nodiscard]] UuidSearchResult findUuid(const std::vector<std::string>& paths, const UuidSearch& search);

} // namespace Kiln::PrefabTool
