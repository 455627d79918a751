#pragma once

#include <core/non_copyable.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

struct NeededFile;

/// The files that wait for a worker, by priority. A file gains one level of priority whenever FILES_PER_LEVEL others
/// have left the queue, so that none waits for ever; files of equal priority leave in the order in which they came.
///
/// The order is static, since all waiting files age at the same rate: a file keeps the number of files that had left
/// the queue when it came, and the difference of two files' numbers never changes. Only pushing allocates nothing and
/// only tickets do, so that a queued file can always be moved. Threads: one at a time.
class FileQueue : NonCopyable {
    struct Entry {
        std::int64_t key = 0; ///< Priority times FILES_PER_LEVEL, minus the number of files that had left the queue.
        std::uint64_t serial = 0;
        NeededFile* file = nullptr;

        friend bool operator<(const Entry& a, const Entry& b) noexcept {
            return a.key != b.key ? a.key > b.key : a.serial < b.serial;
        }
    };
    using Entries = std::set<Entry>;

public:
    static constexpr int FILES_PER_LEVEL = 16;

    /// The memory of a file's entry, which belongs to the file while it is not queued.
    class Ticket : NonCopyable {
    public:
        explicit Ticket(NeededFile& file) {
            Entries entries;
            entries.insert(Entry{0, 0, &file});
            m_node = entries.extract(entries.begin());
        }

        [[nodiscard]] bool isQueued() const noexcept { return m_node.empty(); }

    private:
        friend class FileQueue;

        Entries::node_type m_node; ///< Empty while the file is queued.
        Entries::iterator m_position;
        std::int64_t m_leftBefore = 0; ///< Number of files that had left the queue when this one came.
    };

    [[nodiscard]] std::size_t size() const noexcept { return m_entries.size(); }

    void push(Ticket& ticket, int priority) noexcept {
        ticket.m_leftBefore = m_leftCount;
        ticket.m_node.value().serial = ++m_lastSerial;
        insert(ticket, priority);
    }

    /// Keeps the age of the file.
    void setPriority(Ticket& ticket, int priority) noexcept {
        ticket.m_node = m_entries.extract(ticket.m_position);
        insert(ticket, priority);
    }

    void remove(Ticket& ticket) noexcept { ticket.m_node = m_entries.extract(ticket.m_position); }

    /// The file that is to be read next; null if there is none. It is no longer queued; the caller passes its ticket to
    /// leave().
    [[nodiscard]] NeededFile* front() const noexcept { return m_entries.empty() ? nullptr : m_entries.begin()->file; }

    /// Removes a file that is going to be read, which lets the others age.
    void leave(Ticket& ticket) noexcept {
        remove(ticket);
        ++m_leftCount;
    }

private:
    void insert(Ticket& ticket, int priority) noexcept {
        ticket.m_node.value().key = std::int64_t{priority} * FILES_PER_LEVEL - ticket.m_leftBefore;
        ticket.m_position = m_entries.insert(std::move(ticket.m_node)).position;
    }

    Entries m_entries;
    std::int64_t m_leftCount = 0; ///< Number of files that have left the queue to be read.
    std::uint64_t m_lastSerial = 0;
};

} // namespace Kiln::Tessel::Streaming::detail
