#pragma once

#include <resource/resource_pack.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Kiln::PrefabPacking {

struct PackingOptions {
    bool isCompressed = false;
    bool keepsPositions = false;

    /// Whether files that are no well-formed XML documents are kept as texts. Otherwise no pack is written because of
    /// them.
    bool keepsMalformed = false;

    std::size_t threads = 0; ///< 0 for one per processor.

    /// A pack from which documents are taken whose files have not changed; null for none. The result does not depend on
    /// it.
    SmartPointer<const ResourcePack> previous;

    /// Each file is read and encoded in one step, and stored in another one.
    static constexpr std::size_t STEPS_PER_FILE = 2;

    /// Called after each step, with their number so far, by one thread at a time. May be empty.
    std::function<void(std::size_t stepsCount, const std::string& path)> onStep;
};

struct PackingResult {
    std::size_t reusedCount = 0; ///< Documents that were taken from the previous pack.
    std::size_t textsCount = 0;  ///< Files that are kept as texts.

    /// What went wrong, as sentences without full stop. If there is one, no pack was written.
    std::vector<std::string> problems;

    /// The same for files that are no well-formed documents.
    std::vector<std::string> malformed;
};

/// Packs the resources of these paths into a file, which is replaced atomically. Equal files yield equal packs.
[[nodiscard]] PackingResult packFiles(const std::vector<std::string>& paths, const std::string& packName,
                                      const PackingOptions& options);

} // namespace Kiln::PrefabPacking
