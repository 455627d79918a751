#pragma once

#include <core/non_copyable.h>
#include <prefab_inspection/checking/pending_finding.h>
#include <prefab_inspection/documents/prefab_document.h>
#include <prefab_inspection/documents/source_text.h>

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabInspection {

/// Completes findings: reads their files again to find lines, columns and the names of objects.
class FindingWriter : NonCopyable {
public:
    /// `buffers` replace files and must outlive this.
    explicit FindingWriter(const std::map<std::string, std::string_view>& buffers) : m_buffers(buffers) {}

    [[nodiscard]] Finding write(PendingFinding pending);
    [[nodiscard]] Place write(const PendingPlace& pending);

private:
    /// A file that was read again. All are empty if it cannot be read any more.
    struct Source {
        std::string path;
        std::shared_ptr<const SourceText> text;
        std::map<std::vector<std::size_t>, std::shared_ptr<const SourceText>> embedded; ///< See Anchor::embedding.
        std::unique_ptr<PrefabDocument> document;
        std::vector<std::uint32_t> parents; ///< Of each object, as an index.
    };

    [[nodiscard]] Source& source(const std::string& path);
    [[nodiscard]] static const SourceText& textOf(const Anchor& anchor, Source& source);
    [[nodiscard]] std::string objectPath(Source& source, std::uint32_t object) const;
    void readDocument(Source& source) const;

    const std::map<std::string, std::string_view>& m_buffers;
    std::list<Source> m_sources; ///< The ones used last, the last one first.
};

} // namespace Kiln::PrefabInspection
