#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <core/task_manager.h>
#include <tessel_streaming/documents/loaded_file.h>
#include <tessel_streaming/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Kiln::Tessel {
class PrefabService;
}

namespace Kiln::Tessel::Streaming::detail {

class Tracer;

/// The documents that requests need. It reads files on the workers of a task manager, each once, with everything that
/// they nest; shares the documents with the service's cache; and drops them when nobody needs them any more.
///
/// A need is one path that a request needs, together with the files that it nests. Needs of the same path share their
/// work. Files are read by priority, a file having the highest one of the needs that it belongs to; a waiting file
/// gains one level of priority whenever FILES_PER_LEVEL others have begun, so that each is read at last.
///
/// Owner: the service. Threads: the main thread; workers enter through tasks, which hold the state. Lock: one, which is
/// held neither while a file is read nor while anything else of the framework is called.
class KILN_TESSEL_STREAMING_EXPORT DocumentLibrary : NonCopyable {
public:
    using NeedId = std::uint64_t; ///< From 1.

    static constexpr int FILES_PER_LEVEL = 16;

    struct Totals {
        std::size_t filesRead = 0; ///< Also those that failed.
        std::size_t filesTotal = 0;
        std::uint64_t bytesRead = 0;
        std::uint64_t bytesTotal = 0; ///< Of files whose size is known: those that are being read or have been read.
    };

    struct Costs {
        std::chrono::microseconds queued{0}; ///< Until the first file was begun; until now if none was.
        std::chrono::microseconds read{0};
        std::chrono::microseconds parsed{0};
        std::size_t cacheHits = 0; ///< Files of the need that were in the service's cache or here already.
    };

    struct Counts {
        std::size_t queuedFiles = 0;
        std::size_t readingFiles = 0;
        std::size_t heldDocuments = 0;
        std::size_t keptDocuments = 0; ///< Held by nothing but `keep`.
        std::uint64_t keptBytes = 0;
    };

    DocumentLibrary(PrefabService& service, TaskManager& tasks, Tracer& tracer);

    /// Drops everything that has not begun and returns without waiting for the workers.
    ~DocumentLibrary();

    /// A file that failed before is read again. `keep` marks the documents to be kept.
    [[nodiscard]] NeedId add(const std::string& path, int priority, bool keep);
    void setPriority(NeedId need, int priority);

    /// Ends a need. Files that have not begun and that nobody else needs are dropped immediately. Documents that nobody
    /// needs are dropped by the next releaseUnused().
    void remove(NeedId need);

    /// Appends the needs whose files have all been read, or have failed, since the last call. Cheap if there is none.
    void takeCompleted(std::vector<NeedId>& completed);

    [[nodiscard]] bool isComplete(NeedId need) const;
    [[nodiscard]] Totals totals(NeedId need) const;
    [[nodiscard]] Costs costs(NeedId need) const;
    [[nodiscard]] Counts counts() const;

    /// What was read for a path that some need includes; null if that is not complete.
    [[nodiscard]] SmartPointer<LoadedFile> find(const std::string& path) const;

    /// Drops the documents that no need includes, also from the service's cache if this library has inserted them
    /// and no user of the service has claimed them; keeps those that are marked, up to the limit. To be called at the
    /// end of each frame. Cheap if nothing changed.
    void releaseUnused();
    void setKeptLimit(std::uint64_t bytes);

    /// The files of all documents that are held, with the stamps that they had when they were read.
    [[nodiscard]] std::vector<std::pair<std::string, FileStamp>> heldFiles() const;

    /// The needs that include a path.
    [[nodiscard]] std::vector<NeedId> needsOf(const std::string& path) const;

    /// Makes a newer version of a held file the one that find() returns, and replaces the service's entry. Files that
    /// it nests and that nobody has read are read; the needs that include it are then incomplete until they are.
    void replace(const SmartPointer<LoadedFile>& newer);

private:
    struct State;
    std::shared_ptr<State> m_state; ///< Shared with the tasks.
};

} // namespace Kiln::Tessel::Streaming::detail
