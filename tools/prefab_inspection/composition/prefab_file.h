#pragma once

#include <core/non_copyable.h>
#include <prefab_inspection/documents/prefab_document.h>
#include <prefab_inspection/documents/source_text.h>
#include <prefab_inspection/export.h>
#include <prefab_inspection/findings/finding.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Kiln::PrefabInspection {

/// An element of a file, or of override data in a file.
struct Origin {
    const std::string* file = nullptr; ///< Resource path; null if there is no element.
    const SourceText* text = nullptr;
    DataNode element;

    [[nodiscard]] explicit operator bool() const noexcept { return file != nullptr; }

    /// Where the element begins, and where its value is.
    [[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT SourceRange elementRange() const;
    [[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT SourceRange valueRange() const;
};

/// A prefab file that has been read, with the components of each of its objects. Immutable; any thread.
struct KILN_PREFAB_INSPECTION_EXPORT PrefabFile : NonCopyable {
    enum class Status { READ, MISSING, REFUSED, UNREADABLE, NOT_WELL_FORMED };

    struct Component {
        const StoredPool* pool;
        const StoredItem* item;
        bool isRead; ///< By the loader, see PrefabDocument::isRead().
    };

    /// Reads the file. Logs nothing; `status` and `problem` say what failed.
    explicit PrefabFile(std::string resourcePath);

    /// A file that somebody else has read. `content` is the text that the document was parsed from.
    PrefabFile(std::string resourcePath, std::string content, PrefabDocument parsed);
    ~PrefabFile();

    /// Whether the loader gets any objects from the file.
    [[nodiscard]] bool isLoadable() const noexcept { return document && document->isLoadable(); }

    /// The components of an object, in the order in which the loader reads them.
    [[nodiscard]] std::span<const Component> components(std::size_t object) const;

    /// The object's first component of that type that the loader reads; null if there is none.
    [[nodiscard]] const Component* findComponent(std::size_t object, std::size_t typeId) const;

    /// Whether the object has no HierarchyComponent.
    [[nodiscard]] bool isRoot(std::size_t object) const;

    /// The first root; none if every object has a parent.
    [[nodiscard]] std::optional<std::size_t> findRoot() const;

    [[nodiscard]] Origin originOf(DataNode element) const { return {&path, text.get(), element}; }

    std::string path;
    Status status = Status::READ;
    std::string problem;      ///< Why it could not be read, such as "is missing"; continues a sentence about the file.
    SourceRange problemRange; ///< Of a file that is not well formed.
    std::shared_ptr<const SourceText> text;
    std::optional<PrefabDocument> document; ///< None unless the status is READ.

    /// A check has found nothing wrong in this file, so that every value of a component that the loader reads can be
    /// read and occurs once. False if it was not checked.
    bool isFlawless = false;

private:
    void parse(std::string content);
    void indexComponents();

    std::vector<Component> m_components;      ///< Ordered by object.
    std::vector<std::size_t> m_firstByObject; ///< Index of the first component of each object, and the total.
    std::optional<std::size_t> m_root;
};

/// The files that an operation has read, each once; they stay where they are. Threads: any, several at a time.
class KILN_PREFAB_INSPECTION_EXPORT PrefabFiles : NonCopyable {
public:
    PrefabFiles();
    ~PrefabFiles();

    [[nodiscard]] const PrefabFile& get(const std::string& path);

    /// Adds a file that was read elsewhere. One with the same path that is there already stays.
    void add(std::unique_ptr<PrefabFile> file);

    [[nodiscard]] std::size_t count() const;

private:
    mutable std::mutex m_mutex; ///< Guards the map, not the files. Not held while a file is read.
    std::map<std::string, std::unique_ptr<PrefabFile>> m_files;
};

/// Ids of the component types that nesting depends on, in the ComponentLibrary.
struct NestingTypes {
    std::size_t hierarchy = 0;
    std::size_t prefab = 0;
    std::size_t transform = 0;
    std::string prefabName; ///< Registered name.
    std::string hierarchyName;

    [[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT static const NestingTypes& get();
};

} // namespace Kiln::PrefabInspection
