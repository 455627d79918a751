#pragma once

#include <core/smart_pointer.h>
#include <tessel_streaming/documents/document_library.h>
#include <tessel_streaming/load_result.h>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// Finds what would be missing from instances of prefabs whose files have been read, without creating them. Each file
/// is visited once. Only if something may be wrong are the items of an instance listed, since overrides decide which
/// files it needs.
///
/// Owner: the caller, for one request. Main thread.
class DocumentCheck {
public:
    explicit DocumentCheck(const DocumentLibrary& documents) : m_documents(documents) {}

    void visit(const std::string& path);

    /// Whether a visited path itself, and not only what it nests, could not be loaded.
    [[nodiscard]] bool hasFailedTopFile() const noexcept { return m_hasFailedTopFile; }

    [[nodiscard]] std::vector<LoadFailure> takeFailures() { return std::move(m_failures); }
    [[nodiscard]] std::vector<SkippedComponents> takeSkippedComponents() { return std::move(m_skipped); }

private:
    /// What is known of a file and of what it nests.
    struct Visit {
        bool isOpen = true;      ///< What it nests is being visited.
        bool isDoubtful = false; ///< A file may be missing or be part of a cycle.
        std::size_t levels = 0;  ///< Nested below it.
    };

    Visit visitFile(const std::string& path, int depth);
    void listFailures(const SmartPointer<LoadedFile>& top);

    const DocumentLibrary& m_documents;
    std::unordered_map<std::string, Visit> m_visits;
    bool m_hasFailedTopFile = false;
    std::vector<LoadFailure> m_failures;
    std::vector<SkippedComponents> m_skipped;
};

} // namespace Kiln::Tessel::Streaming::detail
