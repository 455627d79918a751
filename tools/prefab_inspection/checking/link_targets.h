#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <prefab_inspection/checking/prefab_instances.h>

#include <cstddef>

namespace Kiln::PrefabInspection {

/// Finds out whether UUIDs of a prefab lead to objects, which may be those of nested prefabs at any depth.
///
/// Prefabs can be made so that a search visits very many nested ones. A search that exceeds a limit, or all searches
/// together, ends with the answer that the object exists, so that no link is called broken that is not.
class LinkTargets : NonCopyable {
public:
    /// Whether a UUID looks as if it had been generated at random (version 4 of RFC 9562), as only one out of 64 does
    /// that an object of a nested prefab gets.
    [[nodiscard]] static bool isGenerated(const Uuid& uuid) noexcept;

    /// Whether a link of the instance to that UUID leads to an object.
    [[nodiscard]] bool exists(const PrefabInstance& instance, const Uuid& uuid);

    /// Where the object with that UUID is.
    struct Owner {
        std::uint32_t object = FileFacts::NONE; ///< In the instance's own file; NONE if the UUID leads nowhere.
        bool isNested = false; ///< `object` is an integration point, and the UUID is that of an object nested there.
    };

    [[nodiscard]] Owner owner(const PrefabInstance& instance, const Uuid& uuid);

private:
    [[nodiscard]] bool search(const PrefabInstance& instance, const Uuid& uuid, int depth);

    std::size_t m_stepsLeft = 10'000'000;
    std::size_t m_stepsOfSearchLeft = 0;
};

} // namespace Kiln::PrefabInspection
