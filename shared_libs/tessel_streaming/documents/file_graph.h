#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <tessel_streaming/documents/document_library.h>
#include <tessel_streaming/documents/file_queue.h>
#include <tessel_streaming/documents/graph_nodes.h>
#include <tessel_streaming/documents/loaded_file.h>
#include <tessel_streaming/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// The state of a DocumentLibrary: needs, files and the queue. Calls nothing of the framework, so that it can be used
/// under the library's lock. What has to be destroyed is passed to the caller, who does so without the lock.
///
/// Threads: one at a time. Failure: operations that are not noexcept throw std::bad_alloc.
class KILN_TESSEL_STREAMING_EXPORT FileGraph : NonCopyable {
public:
    using Clock = std::chrono::steady_clock;
    using NeedId = DocumentLibrary::NeedId;
    using Files = std::list<NeededFile>;

    /// On failure nothing is added.
    [[nodiscard]] NeedId add(const std::string& path, int priority, bool keep);
    void setPriority(NeedId id, int priority);
    void remove(NeedId id, Files& dropped) noexcept;

    [[nodiscard]] std::size_t queuedCount() const noexcept { return m_queue.size(); }

    /// The file to be read next, which stays until finish(); null if there is none.
    [[nodiscard]] NeededFile* begin() noexcept;
    void setSize(NeededFile& file, std::uint64_t bytes) noexcept;

    /// Ends the reading of a file, and queues what it nests. Returns the previous result; the caller destroys it, and
    /// its reference to the new one, without the lock.
    [[nodiscard]] SmartPointer<LoadedFile> finish(NeededFile& file, const SmartPointer<LoadedFile>& result) noexcept;

    [[nodiscard]] bool hasCompleted() const noexcept { return !m_completed.empty(); }
    void takeCompleted(std::vector<NeedId>& completed);

    [[nodiscard]] const Need* findNeed(NeedId id) const noexcept;
    [[nodiscard]] NeededFile* findFile(const std::string& path) const;
    [[nodiscard]] DocumentLibrary::Totals totals(NeedId id) const noexcept;
    [[nodiscard]] DocumentLibrary::Costs costs(NeedId id) const noexcept;
    [[nodiscard]] DocumentLibrary::Counts counts() const noexcept;
    [[nodiscard]] std::vector<std::pair<std::string, FileStamp>> heldFiles() const;
    [[nodiscard]] std::vector<NeedId> needsOf(const std::string& path) const;

    /// Whether releaseUnused() has something to do.
    [[nodiscard]] bool hasUnused() const noexcept { return !m_unneeded.empty() || isOverKeptLimit(); }
    void releaseUnused(Files& dropped) noexcept;
    void setKeptLimit(std::uint64_t bytes) noexcept { m_keptLimit = bytes; }

    /// Sets a newer result of a file, which has a document. `newer` receives the previous one. On failure some closures
    /// may include files that they do not nest.
    void replace(NeededFile& file, SmartPointer<LoadedFile>& newer, Files& dropped);

    /// Drops everything but the files that are being read.
    void clear(Files& dropped) noexcept;

private:
    using Documents = std::vector<const LoadedFile*>;

    [[nodiscard]] NeededFile& getFile(const std::string& path);
    [[nodiscard]] Closure& getClosure(const std::string& path);
    void discardIfNew(NeededFile& file) noexcept;

    // Needs of closures.
    void link(Closure& closure, Need& need);
    void start(Closure& closure, Need& need, bool keep);
    void completeIfDone(Closure& closure) noexcept;
    void makeIncomplete(Closure& closure) noexcept;
    void updatePriorities(Closure& closure) noexcept;
    void dismantle(Closure& closure, Files& dropped) noexcept;

    // Files of closures.
    void include(Closure& closure, Documents documents);
    void visit(Closure& closure, NeededFile& file, Documents& documents);
    [[nodiscard]] bool join(Closure& closure, NeededFile& file);
    void leave(Closure& closure, NeededFile& file, Files& dropped) noexcept;
    void removeUnreached(Closure& closure, Files& dropped);

    // Files.
    void enqueue(NeededFile& file) noexcept;
    void updatePriority(NeededFile& file) noexcept;
    SmartPointer<LoadedFile> settle(NeededFile& file, SmartPointer<LoadedFile> result) noexcept;
    void setNewer(NeededFile& file, SmartPointer<LoadedFile>& newer) noexcept;
    void readAgain(NeededFile& file) noexcept;
    void setLoaded(NeededFile& file, SmartPointer<LoadedFile>& loaded) noexcept;
    void moveTo(NeededFile& file, NeededFile::Place place) noexcept;
    void drop(NeededFile& file, Files& dropped) noexcept;
    [[nodiscard]] Files& listOf(NeededFile::Place place) noexcept;
    [[nodiscard]] bool isOverKeptLimit() const noexcept {
        return m_keptBytes > m_keptLimit || (m_keptLimit == 0 && !m_kept.empty());
    }

    Files m_needed;
    Files m_unneeded; ///< Since the last releaseUnused(). In the order in which they became unneeded.
    Files m_kept;     ///< In the order in which they became unneeded.
    std::unordered_map<std::string_view, NeededFile*> m_files; ///< By their own paths.
    std::unordered_map<NeedId, Need> m_needs;
    NeedId m_lastNeed = 0;
    FileQueue m_queue;
    std::size_t m_readingCount = 0;
    std::size_t m_documentsCount = 0;
    std::vector<NeedId> m_completed; ///< Has room for all needs.
    std::uint64_t m_keptBytes = 0;
    std::uint64_t m_keptLimit = std::uint64_t{256} * 1024 * 1024;
};

} // namespace Kiln::Tessel::Streaming::detail
