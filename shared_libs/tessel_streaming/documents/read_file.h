#pragma once

#include <core/smart_pointer.h>
#include <tessel_streaming/documents/loaded_file.h>
#include <tessel_streaming/export.h>

#include <string>

namespace Kiln::Tessel {
class PrefabService;
}

namespace Kiln::Tessel::Streaming::detail {

/// The current version of a resource file; `exists` is false for a path that names none. Any thread.
[[nodiscard]] KILN_TESSEL_STREAMING_EXPORT FileStamp stampOf(const std::string& path);

/// Takes the document of a path from the service's cache, or reads the file, lets the components of the document
/// preload their data, and publishes it in the cache. Never null; what makes the file unusable becomes a failure
/// and is not logged; contents of a sound document that are skipped are logged, except for unknown components. Throws
/// std::bad_alloc only if there is no memory for a failure either. Any thread; holds no lock while it reads.
///
/// A cached document without game objects, which a failed load of the service leaves behind, does not count: the file
/// is read again. If it is sound now, its document is used without being published.
[[nodiscard]] KILN_TESSEL_STREAMING_EXPORT SmartPointer<LoadedFile> readFile(const std::string& path,
                                                                             PrefabService& service);

/// As above, with the version of the file that the caller has determined immediately before.
[[nodiscard]] KILN_TESSEL_STREAMING_EXPORT SmartPointer<LoadedFile>
readFile(const std::string& path, const FileStamp& stamp, PrefabService& service);

/// Reads a file without looking into the cache and without publishing it: for a version that may not be used.
[[nodiscard]] KILN_TESSEL_STREAMING_EXPORT SmartPointer<LoadedFile> readFileAside(const std::string& path);

/// A file that was not read, for a reason that is not in the file.
[[nodiscard]] SmartPointer<LoadedFile> failedFile(const std::string& path, FailureCode code, std::string message);
[[nodiscard]] SmartPointer<LoadedFile> outOfMemory(const std::string& path);

} // namespace Kiln::Tessel::Streaming::detail
