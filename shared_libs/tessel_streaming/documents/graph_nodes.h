#pragma once

#include <core/smart_pointer.h>
#include <tessel_streaming/documents/file_queue.h>
#include <tessel_streaming/documents/loaded_file.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

struct NeededFile;
struct Need;

/// A path that needs name, with all files that it nests as far as they are known: those of one document are added when
/// it has been read. Each file is added once, so that cycles end.
struct Closure {
    explicit Closure(NeededFile& topFile) : top(topFile) {}

    [[nodiscard]] bool hasNeeds() const noexcept { return !waiting.empty() || !complete.empty(); }
    [[nodiscard]] int priority() const noexcept { return priorities.empty() ? 0 : priorities.rbegin()->first; }

    /// Adds a file to the numbers, or reverts that.
    void account(const NeededFile& file) noexcept;
    void unaccount(const NeededFile& file) noexcept;

    NeededFile& top;
    std::vector<NeededFile*> files; ///< In the order in which they were found.
    std::size_t outstanding = 0;    ///< Files that have not been read, or that are read again.
    std::size_t failed = 0;         ///< Files that have been read and have no document.
    std::uint64_t bytesRead = 0;
    std::uint64_t bytesTotal = 0;
    std::chrono::microseconds readTime{0}; ///< Sums over the files that were read for it.
    std::chrono::microseconds parseTime{0};
    std::size_t cacheHits = 0;
    std::optional<std::chrono::steady_clock::time_point> begun; ///< When its first file was begun.

    // Its needs. Each vector has room for all of them.
    std::vector<Need*> waiting;
    std::vector<Need*> complete;
    std::map<int, std::size_t> priorities; ///< Number of needs by priority.
    std::uint64_t lastNeed = 0;            ///< Id of the newest one.
    bool isKept = false;
};

/// One request of a user of the library.
struct Need {
    std::uint64_t id = 0;
    Closure* closure = nullptr;
    int priority = 0;
    std::size_t index = 0; ///< In the closure's vector.
    bool isComplete = false;
    bool isListed = false; ///< Among the completed needs that nobody has taken.
    std::chrono::steady_clock::time_point added;

    // Values of the closure when the need was added: what was there before cost this need nothing.
    std::chrono::microseconds readTimeBefore{0};
    std::chrono::microseconds parseTimeBefore{0};
    std::size_t cacheHitsBefore = 0;
    std::size_t filesReadBefore = 0;
};

/// A file that closures include, or included recently, or that is kept.
struct NeededFile {
    enum class Status {
        NEW,
        QUEUED, ///< Also if it is to be read again after a failure.
        READING,
        READ,
    };
    /// In which list of the graph the file is.
    enum class Place { NEEDED, UNNEEDED, KEPT };

    explicit NeededFile(const std::string& filePath);

    /// The highest priority of its closures.
    [[nodiscard]] int priority() const noexcept;

    [[nodiscard]] bool hasDocument() const noexcept { return loaded && loaded->entry; }
    [[nodiscard]] bool hasFailed() const noexcept { return status == Status::READ && !hasDocument(); }

    const std::string path;
    Status status = Status::NEW;
    Place place = Place::NEEDED;
    std::list<NeededFile>::iterator self;
    FileQueue::Ticket ticket;
    int queuedPriority = 0;

    SmartPointer<LoadedFile> loaded;          ///< The last result; null before the first one.
    SmartPointer<LoadedFile> outOfMemory;     ///< The result if no other can be allocated.
    SmartPointer<DescriptorCacheData> shared; ///< The entry that this library has put into the service's cache.
    std::uint64_t bytes = 0;                  ///< Size of the file; 0 until it is begun.
    std::uint64_t begunAfterNeed = 0;         ///< Id of the newest need when its reading began.

    std::unordered_set<Closure*> closures; ///< Those that include it.
    std::unique_ptr<Closure> ownClosure;   ///< That of its own path, if it has needs.
    bool isKept = false;                   ///< Stays when nobody needs it any more.
    bool isBeingRead = false;              ///< By a worker, which uses `path` without the lock.
    bool isSuperseded = false;             ///< The worker that reads it brings an old version.
};

} // namespace Kiln::Tessel::Streaming::detail
