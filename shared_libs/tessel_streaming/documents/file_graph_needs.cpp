#include <tessel_streaming/documents/file_graph.h>

#include <tessel_streaming/documents/vector_room.h>

#include <algorithm>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

FileGraph::NeedId FileGraph::add(const std::string& path, int priority, bool keep) {
    Need& need = m_needs.try_emplace(m_lastNeed + 1).first->second;
    need.id = ++m_lastNeed;
    need.priority = priority;
    need.added = Clock::now();
    try {
        reserveRoom(m_completed, m_needs.size());
        Closure& closure = getClosure(path);
        const bool isRaised = priority > closure.priority();
        link(closure, need);
        start(closure, need, keep);
        if (isRaised) {
            updatePriorities(closure);
        }
    } catch (...) {
        Files dropped;
        remove(m_lastNeed, dropped);
        throw;
    }
    return m_lastNeed;
}

/// Makes a need wait for a closure. On failure a new closure is removed.
void FileGraph::link(Closure& closure, Need& need) {
    try {
        const std::size_t count = closure.waiting.size() + closure.complete.size() + 1;
        reserveRoom(closure.waiting, count);
        reserveRoom(closure.complete, count);
        ++closure.priorities[need.priority];
    } catch (...) {
        Files dropped;
        if (!closure.hasNeeds()) {
            dismantle(closure, dropped);
        }
        throw;
    }
    need.closure = &closure;
    need.index = closure.waiting.size();
    closure.waiting.push_back(&need);
    closure.lastNeed = need.id;
}

/// Queues what a new need of the closure waits for, and completes it if that is nothing.
void FileGraph::start(Closure& closure, Need& need, bool keep) {
    if (keep && !closure.isKept) {
        closure.isKept = true;
        for (NeededFile* const file : closure.files) {
            file->isKept = true;
        }
    }
    if (closure.failed > 0) {
        for (NeededFile* const file : closure.files) {
            if (file->hasFailed()) {
                readAgain(*file);
            }
        }
    }
    need.readTimeBefore = closure.readTime;
    need.parseTimeBefore = closure.parseTime;
    need.cacheHitsBefore = closure.cacheHits;
    need.filesReadBefore = closure.files.size() - closure.outstanding;
    if (closure.files.empty()) {
        Documents documents;
        visit(closure, closure.top, documents);
        include(closure, std::move(documents));
    }
    completeIfDone(closure);
}

void FileGraph::setPriority(NeedId id, int priority) {
    const auto found = m_needs.find(id);
    if (found == m_needs.end() || found->second.priority == priority) {
        return;
    }
    Need& need = found->second;
    Closure& closure = *need.closure;
    const int before = closure.priority();
    ++closure.priorities[priority];
    const auto old = closure.priorities.find(need.priority);
    if (--old->second == 0) {
        closure.priorities.erase(old);
    }
    need.priority = priority;
    if (closure.priority() != before) {
        updatePriorities(closure);
    }
}

/// Moves the queued files of a closure whose priority has changed.
void FileGraph::updatePriorities(Closure& closure) noexcept {
    if (closure.outstanding == 0) {
        return;
    }
    for (NeededFile* const file : closure.files) {
        if (file->status == NeededFile::Status::QUEUED) {
            updatePriority(*file);
        }
    }
}

void FileGraph::remove(NeedId id, Files& dropped) noexcept {
    const auto found = m_needs.find(id);
    if (found == m_needs.end()) {
        return;
    }
    Need& need = found->second;
    if (need.isListed) {
        m_completed.erase(std::find(m_completed.begin(), m_completed.end(), id));
    }
    if (Closure* const closure = need.closure) {
        std::vector<Need*>& needs = need.isComplete ? closure->complete : closure->waiting;
        needs[need.index] = needs.back();
        needs[need.index]->index = need.index;
        needs.pop_back();
        const int before = closure->priority();
        const auto priority = closure->priorities.find(need.priority);
        if (--priority->second == 0) {
            closure->priorities.erase(priority);
        }
        if (!closure->hasNeeds()) {
            dismantle(*closure, dropped);
        } else if (closure->priority() != before) {
            updatePriorities(*closure);
        }
    }
    m_needs.erase(found);
}

void FileGraph::dismantle(Closure& closure, Files& dropped) noexcept {
    NeededFile& top = closure.top;
    for (NeededFile* const file : closure.files) {
        leave(closure, *file, dropped);
    }
    top.ownClosure.reset();
    discardIfNew(top);
}

void FileGraph::completeIfDone(Closure& closure) noexcept {
    if (closure.outstanding > 0) {
        return;
    }
    for (Need* const need : closure.waiting) {
        need->isComplete = true;
        need->index = closure.complete.size();
        closure.complete.push_back(need);
        if (!need->isListed) {
            need->isListed = true;
            m_completed.push_back(need->id);
        }
    }
    closure.waiting.clear();
}

void FileGraph::makeIncomplete(Closure& closure) noexcept {
    for (Need* const need : closure.complete) {
        need->isComplete = false;
        need->index = closure.waiting.size();
        closure.waiting.push_back(need);
    }
    closure.complete.clear();
}

void FileGraph::takeCompleted(std::vector<NeedId>& completed) {
    completed.reserve(completed.size() + m_completed.size());
    for (const NeedId id : m_completed) {
        Need& need = m_needs.find(id)->second;
        need.isListed = false;
        if (need.isComplete) {
            completed.push_back(id);
        }
    }
    m_completed.clear();
}

} // namespace Kiln::Tessel::Streaming::detail
