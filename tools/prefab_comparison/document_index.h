#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <prefab_inspection/documents/prefab_document.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace Kiln::PrefabComparison {

/// Finds the objects of a document by UUID and the components of an object. Immutable; any thread. `document` must
/// outlive it.
class DocumentIndex : NonCopyable {
public:
    static constexpr std::size_t NONE = std::numeric_limits<std::size_t>::max();

    struct Component {
        const PrefabInspection::StoredPool* pool;
        const PrefabInspection::StoredItem* item;
    };

    /// The parent that a HierarchyComponent names.
    struct Parent {
        DataNode element; ///< The property; null if it is absent.
        Uuid uuid;        ///< Zero if it is absent or unreadable.
        bool isReadable = true;
    };

    explicit DocumentIndex(const PrefabInspection::PrefabDocument& document);

    [[nodiscard]] const PrefabInspection::PrefabDocument& document() const noexcept { return m_document; }
    [[nodiscard]] std::size_t objectsCount() const noexcept { return m_document.objects.size(); }

    /// Index of the first object with that UUID; NONE without one. An object whose UUID cannot be read is never found.
    [[nodiscard]] std::size_t findObject(const Uuid& uuid) const noexcept;

    /// Index of the next object with the UUID of `object`; NONE after the last one.
    [[nodiscard]] std::size_t nextWithSameUuid(std::size_t object) const;

    /// Whether any two objects have the same UUID.
    [[nodiscard]] bool hasRepeatedUuids() const noexcept { return !m_nextWithSameUuid.empty(); }

    /// The components of an object in the order of the document. An object may have several of one type, of which the
    /// loader uses the first one.
    [[nodiscard]] std::span<const Component> components(std::size_t object) const noexcept;

    /// The components whose object does not exist, in the order of the document.
    [[nodiscard]] std::span<const Component> strayComponents() const noexcept { return components(objectsCount()); }

    /// The component number `occurrence` of that type; null without one.
    [[nodiscard]] const Component* findComponent(std::size_t object, std::string_view type,
                                                 std::size_t occurrence = 0) const noexcept;

    /// The parent in the object's first HierarchyComponent; none without that component.
    [[nodiscard]] std::optional<Parent> parent(std::size_t object) const;

    /// Empty if it is absent.
    [[nodiscard]] std::string name(std::size_t object) const;

    /// The names from the topmost object of the file to this one, separated by '/'. An unnamed object is shown as its
    /// UUID. Of a cycle of parents, each object is listed once, and of a long path only the last 100 names.
    [[nodiscard]] std::string path(std::size_t object) const;

private:
    void indexUuids();
    void indexComponents();

    const PrefabInspection::PrefabDocument& m_document;
    std::vector<std::uint32_t> m_slots; ///< Hash table with linear probing: index of an object plus 1, or 0.
    std::unordered_map<std::size_t, std::size_t> m_nextWithSameUuid;
    std::vector<Component> m_components; ///< Ordered by object, stray ones last.
    std::vector<std::size_t>
        m_firstByObject; ///< Index of the first component of each object, of strays, and the total.
};

} // namespace Kiln::PrefabComparison
