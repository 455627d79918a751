#pragma once

#include <core/smart_pointer.h>
#include <object_serialization/component_descriptor.h>
#include <tessel_asset_loading/game_object_prefab/nested_prefab.h>
#include <tessel_streaming/documents/document_library.h>
#include <tessel_streaming/load_result.h>

#include <cstddef>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// Supplies the nested prefabs of one instance from the library, and notes which of them are missing, and why. It never
/// reads a file.
///
/// Owner: the creation of the instance. Main thread.
class DocumentResolver final : public Tessel::detail::INestedPrefabs {
public:
    DocumentResolver(const DocumentLibrary& documents, const SmartPointer<LoadedFile>& top);

    [[nodiscard]] Tessel::detail::NestedPrefab load(const std::string& resource,
                                                    std::span<const GameObjectPrefab* const> enclosing) override;

    /// The files that the instance needs and that no need of the library includes; once they are read, the instance has
    /// to be gathered again.
    [[nodiscard]] const std::vector<std::string>& unreadFiles() const noexcept { return m_unread; }

    /// Why prefabs are left out, in the order in which they were found.
    [[nodiscard]] const std::vector<LoadFailure>& failures() const noexcept { return m_failures; }

    /// Of all files that were used, each pool once.
    [[nodiscard]] const std::vector<SkippedComponents>& skippedComponents() const noexcept { return m_skipped; }

    /// Resource paths from the request's file to the one whose document has the component; only the request's file if
    /// none has.
    [[nodiscard]] std::vector<std::string> chainToComponent(const IComponentDescriptor& component) const;

private:
    struct Used {
        SmartPointer<LoadedFile> file;
        bool hasRoot = false;
    };

    /// What the library has for a path, now and for the rest of the creation: an instance is not made from two versions
    /// of a file. Null if it has not been read.
    [[nodiscard]] const SmartPointer<LoadedFile>& find(const std::string& resource);
    const Used& use(const SmartPointer<LoadedFile>& file);
    [[nodiscard]] std::vector<std::string> chainTo(const std::string& resource,
                                                   std::span<const GameObjectPrefab* const> enclosing) const;
    void refuseDepth(const std::string& resource, std::span<const GameObjectPrefab* const> enclosing);
    void addFailure(LoadFailure failure);

    const DocumentLibrary& m_documents;
    const SmartPointer<LoadedFile> m_top;
    std::unordered_map<std::string, SmartPointer<LoadedFile>> m_files; ///< By path; none is null.
    std::unordered_map<const GameObjectPrefab*, Used> m_used;          ///< Keeps the documents alive.
    std::unordered_set<std::string> m_failedFiles;                     ///< Each is listed once.
    std::vector<std::string> m_unread;
    std::vector<LoadFailure> m_failures;
    std::vector<SkippedComponents> m_skipped;
    bool m_hasCycle = false; ///< From then on, a prefab that encloses itself is left out at once.
};

} // namespace Kiln::Tessel::Streaming::detail
