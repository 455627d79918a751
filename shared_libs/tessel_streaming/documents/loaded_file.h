#pragma once

#include <core/safe_reference_count.h>
#include <core/smart_pointer.h>
#include <tessel_asset_loading/prefab_service_records.h>
#include <tessel_streaming/export.h>
#include <tessel_streaming/load_result.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// Identifies a version of a file.
struct FileStamp {
    /// Matches no version of a file.
    static constexpr std::int64_t UNKNOWN_TIME = std::numeric_limits<std::int64_t>::min();

    std::int64_t modified = 0; ///< Time of the last modification in nanoseconds, by the file system's clock.
    std::uint64_t bytes = 0;
    bool exists = false;

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

/// What reading a prefab file has yielded. Immutable once a worker has handed it over.
struct KILN_TESSEL_STREAMING_EXPORT LoadedFile final : SafeReferenceCount {
    LoadedFile();
    ~LoadedFile() override;

    [[nodiscard]] const GameObjectPrefab* prefab() const noexcept { return entry ? entry->prefab.get() : nullptr; }

    std::string path;
    SmartPointer<DescriptorCacheData> entry; ///< Has the document; null if the file failed.
    bool isInsertedEntry = false;            ///< This library has inserted the entry into the service's cache.
    bool isCacheHit = false; ///< The service had the document; the file was read for unknownComponents only.

    /// Of the file immediately before it was read. For a cache hit, whose document may be of an earlier version, it has
    /// UNKNOWN_TIME if the file exists, so that a watcher compares the versions once.
    FileStamp stamp;

    /// The distinct resource paths that the document may nest, in document order: those of objects with a parent, and
    /// those that override data, at any depth, sets as `resource`. Some of them may turn out not to be needed.
    std::vector<std::string> nested;

    std::vector<LoadFailure> failures;          ///< Why there is no document; their chains are empty.
    std::vector<std::string> unknownComponents; ///< Types of the pools that were skipped.

    std::chrono::microseconds readTime{0};  ///< 0 for a cache hit.
    std::chrono::microseconds parseTime{0}; ///< Includes preload() of the components.
};

} // namespace Kiln::Tessel::Streaming::detail
