#pragma once

#include <tessel_asset_loading/export.h>

#include <cstddef>

namespace Kiln::Tessel {

/// Limits for prefabs from sources that are not trusted. A prefab within them behaves as if there were none; one beyond
/// them is refused with a message that names the file and the limit, or, for walkVisits, loaded with a warning. The
/// defaults leave room for prefabs of hundreds of thousands of objects.
///
/// The platform limits the size of files and the depth of documents.
struct PrefabLimits {
    /// Game objects of one document. A larger document is refused as a whole and stays empty.
    std::size_t objects = 2'000'000;

    /// Components of one game object in a document. A document that exceeds it is refused as a whole.
    std::size_t componentsPerObject = 4'096;

    /// Bytes of the name of a game object, and of the path of a nested prefab. A document that exceeds it is refused as
    /// a whole: every message about the object repeats the name.
    std::size_t nameBytes = 65'536;

    /// Bytes of one override text in a document. A document that exceeds it is refused as a whole.
    std::size_t overrideTextBytes = std::size_t{16} * 1024 * 1024;

    /// Game objects of one instance, including those of nested prefabs. The creation of a larger one fails.
    std::size_t instanceObjects = 2'000'000;

    /// Bytes of the override texts of one instance. Each live PrefabComponent has a copy of its text, so that a text
    /// counts once for each object that has it. The creation of a larger instance fails.
    std::size_t instanceOverrideBytes = std::size_t{256} * 1024 * 1024;

    /// Nested prefabs that a background load, or one call that caches or preloads a prefab, visits, counting repeated
    /// visits, but not those through the root of a prefab, which names its own file. Beyond this number it skips
    /// prefabs that it has already visited at the same depth, and at its end it logs one warning with the number of
    /// skipped visits. A prefab with some 240 integration points reaches the default; its objects are not affected.
    std::size_t walkVisits = 10'000;
};

/// The limits of the process. Any thread.
[[nodiscard]] KILN_TESSEL_ASSET_LOADING_EXPORT PrefabLimits prefabLimits();

/// Replaces the limits; operations that are in progress may still use the previous ones. Any thread.
KILN_TESSEL_ASSET_LOADING_EXPORT void setPrefabLimits(const PrefabLimits& limits);

} // namespace Kiln::Tessel
