#pragma once

#include <common/uuid.h>
#include <prefab_inspection/composition/prefab_file.h>

#include <cstddef>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Kiln::PrefabTool {

/// The new UUIDs of the objects of a prefab file. Immutable; any thread.
///
/// As in GameObjectPrefab::regenerateHierarchyUuids(), objects with the same UUID get the same new one. Objects whose
/// UUID is missing, unreadable or zero get one each, because nothing refers to them by it.
class UuidTable {
public:
    /// Returns a new UUID for an object that has the UUID `old`, or that has none if `old` is zero.
    using MakeUuid = std::function<Uuid(const Uuid& old)>;

    /// The file must have a document.
    UuidTable(const PrefabInspection::PrefabFile& file, const MakeUuid& makeUuid);

    /// Resource path of the file.
    [[nodiscard]] const std::string& path() const noexcept { return m_path; }

    /// The new UUID of the object with that index.
    [[nodiscard]] const Uuid& ofObject(std::size_t index) const { return m_byObject[index]; }

    /// The new UUID in the place of an old one; null if no object has the old one.
    [[nodiscard]] const Uuid* find(const Uuid& old) const;

private:
    std::string m_path;
    std::vector<Uuid> m_byObject;
    std::unordered_map<Uuid, Uuid> m_byUuid;
};

} // namespace Kiln::PrefabTool
