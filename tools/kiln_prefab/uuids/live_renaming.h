#pragma once

#include "uuid_table.h"

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <prefab_inspection/composition/composition.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

/// Tells what a change of the UUIDs of one file makes of links in an instance of a prefab that has the file somewhere.
/// An instance of the composition is the context of a link: the link is relative to its UUID. One thread.
class LiveRenaming : NonCopyable {
public:
    static constexpr std::size_t NONE = PrefabInspection::Composition::NONE;

    /// The index of the whole instance.
    static constexpr std::size_t WHOLE = 0;

    LiveRenaming(PrefabInspection::PrefabFiles& files, const std::string& path, const UuidTable& table);

    /// Why links to objects of nested prefabs can't be resolved; empty if they can.
    [[nodiscard]] const std::string& problem() const noexcept { return m_problem; }

    /// The instance that an integration point of another instance nests; NONE if there is none.
    [[nodiscard]] std::size_t nestedInstance(std::size_t instance, std::size_t point) const;

    /// The same for the integration point that has a UUID in the file of the instance.
    [[nodiscard]] std::size_t nestedInstance(std::size_t instance, const Uuid& point);

    /// The new UUID of the object that has an old one in the file of the instance; null if it keeps its UUID.
    [[nodiscard]] const Uuid* newKey(std::size_t instance, const Uuid& old) const;

    /// Whether the instance's file is the one whose objects get new UUIDs.
    [[nodiscard]] bool isRenamed(std::size_t instance) const;

    /// Whether the UUID is that of the instance's root in its file.
    [[nodiscard]] bool isRoot(std::size_t instance, const Uuid& uuid) const;

    /// The new text of a link; none if it leads to no object.
    [[nodiscard]] std::optional<Uuid> newLink(std::size_t instance, const Uuid& link) const;

private:
    [[nodiscard]] Uuid newObjectUuid(std::size_t object) const;
    [[nodiscard]] const Uuid& newFileUuid(const PrefabInspection::PrefabFile& file, std::size_t node) const;

    const UuidTable& m_table;
    const PrefabInspection::Composition m_composition;
    std::string m_problem;
    std::vector<Uuid> m_newInstanceUuids;
    std::map<std::pair<std::size_t, std::size_t>, std::size_t> m_nested; ///< By instance and point.

    /// Indices of the integration points of files, by their UUIDs; made when a file is first needed.
    std::map<const PrefabInspection::PrefabFile*, std::unordered_map<Uuid, std::size_t>> m_points;
};

} // namespace Kiln::PrefabTool
