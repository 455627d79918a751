#include <tessel_streaming/documents/file_graph.h>

#include <iterator>
#include <new>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

NeededFile& FileGraph::getFile(const std::string& path) {
    if (NeededFile* const known = findFile(path)) {
        return *known;
    }
    NeededFile& file = m_needed.emplace_back(path);
    file.self = std::prev(m_needed.end());
    try {
        m_files.emplace(file.path, &file);
    } catch (...) {
        m_needed.pop_back();
        throw;
    }
    return file;
}

void FileGraph::discardIfNew(NeededFile& file) noexcept {
    if (file.status == NeededFile::Status::NEW && file.closures.empty() && !file.ownClosure) {
        m_files.erase(file.path);
        m_needed.erase(file.self);
    }
}

void FileGraph::enqueue(NeededFile& file) noexcept {
    file.status = NeededFile::Status::QUEUED;
    file.queuedPriority = file.priority();
    m_queue.push(file.ticket, file.queuedPriority);
}

/// Moves a queued file if the priority of its closures has changed.
void FileGraph::updatePriority(NeededFile& file) noexcept {
    if (const int priority = file.priority(); priority != file.queuedPriority) {
        file.queuedPriority = priority;
        m_queue.setPriority(file.ticket, priority);
    }
}

/// Queues a file that has failed. Needs that are complete stay so.
void FileGraph::readAgain(NeededFile& file) noexcept {
    for (Closure* const closure : file.closures) {
        closure->unaccount(file);
    }
    file.bytes = 0;
    enqueue(file);
    for (Closure* const closure : file.closures) {
        closure->account(file);
    }
}

NeededFile* FileGraph::begin() noexcept {
    NeededFile* const file = m_queue.front();
    if (!file) {
        return nullptr;
    }
    m_queue.leave(file->ticket);
    file->status = NeededFile::Status::READING;
    file->isBeingRead = true;
    file->begunAfterNeed = m_lastNeed;
    ++m_readingCount;
    const Clock::time_point now = Clock::now();
    for (Closure* const closure : file->closures) {
        if (!closure->begun) {
            closure->begun = now;
        }
    }
    return file;
}

void FileGraph::setSize(NeededFile& file, std::uint64_t bytes) noexcept {
    if (file.isSuperseded) {
        return;
    }
    file.bytes = bytes;
    for (Closure* const closure : file.closures) {
        closure->bytesTotal += bytes;
    }
}

SmartPointer<LoadedFile> FileGraph::finish(NeededFile& file, const SmartPointer<LoadedFile>& result) noexcept {
    SmartPointer<LoadedFile> previous;
    file.isBeingRead = false;
    --m_readingCount;
    if (std::exchange(file.isSuperseded, false)) {
        if (result->isInsertedEntry) {
            file.shared = file.loaded->entry; // Has replaced the inserted one.
        }
    } else {
        if (result->isInsertedEntry) {
            file.shared = result->entry;
        }
        previous = settle(file, result);
    }
    if (file.closures.empty()) {
        moveTo(file, NeededFile::Place::UNNEEDED);
    }
    return previous;
}

/// Sets the result of a file that has been read, and adds what it nests to the closures. Returns the previous result.
SmartPointer<LoadedFile> FileGraph::settle(NeededFile& file, SmartPointer<LoadedFile> result) noexcept {
    try {
        for (Closure* const closure : file.closures) {
            include(*closure, {result.get()});
        }
    } catch (const std::bad_alloc&) {
        result = file.outOfMemory;
    }
    for (Closure* const closure : file.closures) {
        closure->unaccount(file);
    }
    setLoaded(file, result);
    file.status = NeededFile::Status::READ;
    for (Closure* const closure : file.closures) {
        closure->account(file);
        closure->readTime += file.loaded->readTime;
        closure->parseTime += file.loaded->parseTime;
        closure->cacheHits += file.loaded->isCacheHit ? 1 : 0;
        completeIfDone(*closure);
    }
    return result;
}

void FileGraph::replace(NeededFile& file, SmartPointer<LoadedFile>& newer, Files& dropped) {
    const std::vector<Closure*> closures(file.closures.begin(), file.closures.end());
    for (Closure* const closure : closures) {
        include(*closure, {newer.get()});
    }
    setNewer(file, newer);
    for (Closure* const closure : closures) {
        if (closure->outstanding > 0) {
            makeIncomplete(*closure);
        }
    }
    for (Closure* const closure : closures) {
        removeUnreached(*closure, dropped);
        completeIfDone(*closure);
    }
}

/// `newer` receives the previous result.
void FileGraph::setNewer(NeededFile& file, SmartPointer<LoadedFile>& newer) noexcept {
    if (file.status == NeededFile::Status::QUEUED) {
        m_queue.remove(file.ticket);
    }
    file.isSuperseded = file.isBeingRead;
    for (Closure* const closure : file.closures) {
        closure->unaccount(file);
    }
    m_keptBytes -= file.place == NeededFile::Place::KEPT ? file.bytes : 0;
    setLoaded(file, newer);
    file.status = NeededFile::Status::READ;
    file.bytes = file.loaded->stamp.bytes;
    m_keptBytes += file.place == NeededFile::Place::KEPT ? file.bytes : 0;
    for (Closure* const closure : file.closures) {
        closure->account(file);
    }
}

void FileGraph::releaseUnused(Files& dropped) noexcept {
    while (!m_unneeded.empty()) {
        NeededFile& file = m_unneeded.front();
        if (file.isKept && file.hasDocument()) {
            moveTo(file, NeededFile::Place::KEPT);
        } else {
            drop(file, dropped);
        }
    }
    while (isOverKeptLimit()) {
        drop(m_kept.front(), dropped);
    }
}

void FileGraph::clear(Files& dropped) noexcept {
    m_completed.clear();
    m_needs.clear();
    for (Files* const files : {&m_needed, &m_unneeded, &m_kept}) {
        for (auto next = files->begin(); next != files->end();) {
            NeededFile& file = *next++;
            file.closures.clear();
            file.ownClosure.reset();
            if (!file.isBeingRead) {
                drop(file, dropped);
            }
        }
    }
}

/// `loaded` receives the previous result.
void FileGraph::setLoaded(NeededFile& file, SmartPointer<LoadedFile>& loaded) noexcept {
    m_documentsCount -= file.hasDocument() ? 1 : 0;
    file.loaded.swap(loaded);
    m_documentsCount += file.hasDocument() ? 1 : 0;
}

FileGraph::Files& FileGraph::listOf(NeededFile::Place place) noexcept {
    switch (place) {
    case NeededFile::Place::UNNEEDED:
        return m_unneeded;
    case NeededFile::Place::KEPT:
        return m_kept;
    case NeededFile::Place::NEEDED:
        break;
    }
    return m_needed;
}

/// Appends the file to another list.
void FileGraph::moveTo(NeededFile& file, NeededFile::Place place) noexcept {
    m_keptBytes -= file.place == NeededFile::Place::KEPT ? file.bytes : 0;
    listOf(place).splice(listOf(place).end(), listOf(file.place), file.self);
    file.place = place;
    m_keptBytes += place == NeededFile::Place::KEPT ? file.bytes : 0;
}

void FileGraph::drop(NeededFile& file, Files& dropped) noexcept {
    moveTo(file, NeededFile::Place::NEEDED);
    if (file.status == NeededFile::Status::QUEUED) {
        m_queue.remove(file.ticket);
    }
    m_documentsCount -= file.hasDocument() ? 1 : 0;
    m_files.erase(file.path);
    dropped.splice(dropped.end(), m_needed, file.self);
}

} // namespace Kiln::Tessel::Streaming::detail
