#include <tessel_streaming/documents/file_graph.h>

#include <tessel_streaming/documents/vector_room.h>

#include <algorithm>
#include <memory>
#include <unordered_set>

namespace Kiln::Tessel::Streaming::detail {

Closure& FileGraph::getClosure(const std::string& path) {
    NeededFile& file = getFile(path);
    if (!file.ownClosure) {
        try {
            file.ownClosure = std::make_unique<Closure>(file);
        } catch (...) {
            discardIfNew(file);
            throw;
        }
    }
    return *file.ownClosure; // cppcheck-suppress nullPointerRedundantCheck
}

/// Adds what documents nest, and what the documents of these files nest, and so on. On failure nothing is added.
void FileGraph::include(Closure& closure, Documents documents) {
    const std::size_t before = closure.files.size();
    try {
        for (std::size_t i = 0; i < documents.size(); ++i) {
            for (const std::string& path : documents[i]->nested) {
                visit(closure, getFile(path), documents);
            }
        }
    } catch (...) {
        Files dropped;
        while (closure.files.size() > before) {
            NeededFile& file = *closure.files.back();
            closure.files.pop_back();
            leave(closure, file, dropped);
        }
        throw;
    }
}

/// Adds a file to a closure and, if it is new there, its document to `documents`.
void FileGraph::visit(Closure& closure, NeededFile& file, Documents& documents) {
    try {
        reserveRoom(documents, documents.size() + 1);
        if (join(closure, file) && file.status == NeededFile::Status::READ && file.hasDocument()) {
            documents.push_back(file.loaded.get());
        }
    } catch (...) {
        discardIfNew(file);
        throw;
    }
}

/// Returns false if the closure includes the file already. On failure nothing is changed.
bool FileGraph::join(Closure& closure, NeededFile& file) {
    if (!file.closures.insert(&closure).second) {
        return false;
    }
    try {
        closure.files.push_back(&file);
    } catch (...) {
        file.closures.erase(&closure);
        throw;
    }
    if (file.place != NeededFile::Place::NEEDED) {
        moveTo(file, NeededFile::Place::NEEDED);
    }
    file.isKept |= closure.isKept;
    if (file.status == NeededFile::Status::NEW) {
        enqueue(file);
    } else if (file.status == NeededFile::Status::QUEUED) {
        updatePriority(file);
    } else if (!closure.begun) {
        closure.begun = Clock::now();
    }
    closure.account(file);
    if (file.hasFailed() && file.begunAfterNeed < closure.lastNeed) {
        readAgain(file);
    }
    closure.cacheHits += file.status == NeededFile::Status::READ && file.hasDocument() ? 1 : 0;
    return true;
}

/// Reverts join(), except for the closure's list of files. A file that nobody needs any more is dropped at once if its
/// reading has not begun.
void FileGraph::leave(Closure& closure, NeededFile& file, Files& dropped) noexcept {
    closure.unaccount(file);
    file.closures.erase(&closure);
    if (file.closures.empty()) {
        if (file.status == NeededFile::Status::QUEUED) {
            drop(file, dropped);
        } else if (!file.isBeingRead) {
            moveTo(file, NeededFile::Place::UNNEEDED);
        }
    } else if (file.status == NeededFile::Status::QUEUED) {
        updatePriority(file);
    }
}

/// Removes the files that nothing in the closure nests any more.
void FileGraph::removeUnreached(Closure& closure, Files& dropped) {
    std::unordered_set<const NeededFile*> reached{&closure.top};
    std::vector<const NeededFile*> documents{&closure.top};
    for (std::size_t i = 0; i < documents.size(); ++i) {
        const NeededFile& file = *documents[i];
        if (file.status != NeededFile::Status::READ) {
            continue;
        }
        for (const std::string& path : file.loaded->nested) {
            const NeededFile* const nested = findFile(path);
            if (nested && reached.insert(nested).second) {
                documents.push_back(nested);
            }
        }
    }
    const auto kept = std::stable_partition(closure.files.begin(), closure.files.end(),
                                            [&](const NeededFile* file) { return reached.contains(file); });
    for (auto file = kept; file != closure.files.end(); ++file) {
        leave(closure, **file, dropped);
    }
    closure.files.erase(kept, closure.files.end());
}

} // namespace Kiln::Tessel::Streaming::detail
