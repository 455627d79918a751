#pragma once

#include <core/non_copyable.h>
#include <prefab_comparison/document_index.h>
#include <prefab_inspection/documents/prefab_document.h>
#include <resource/file_content.h>

#include <optional>
#include <string>
#include <string_view>

namespace Kiln::PrefabComparison {

/// A document with the text that it was read from. Owner: the caller. Immutable; any thread.
class LoadedDocument : NonCopyable {
public:
    /// Parses a text. Logs nothing; see problem(). `name` is for messages.
    LoadedDocument(std::string name, FileContent content);
    ~LoadedDocument();

    /// Why the text is not a document, as a sentence about the file without full stop; empty if it is one.
    [[nodiscard]] const std::string& problem() const noexcept { return m_problem; }

    [[nodiscard]] const std::string& name() const noexcept { return m_name; }
    [[nodiscard]] std::string_view text() const noexcept { return m_content.text(); }

    /// Only without a problem.
    [[nodiscard]] const PrefabInspection::PrefabDocument& document() const { return *m_document; }
    [[nodiscard]] const DocumentIndex& index() const { return *m_index; }

private:
    const std::string m_name;
    const FileContent m_content;
    std::string m_problem;
    std::optional<PrefabInspection::PrefabDocument> m_document;
    std::optional<DocumentIndex> m_index;
};

} // namespace Kiln::PrefabComparison
