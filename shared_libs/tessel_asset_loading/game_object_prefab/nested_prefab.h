#pragma once

#include <core/safe_reference_count.h>
#include <core/smart_pointer.h>

#include <string>
#include <utility>

namespace Kiln::Tessel {
class GameObjectPrefab;
}

namespace Kiln::Tessel::detail {

/// A prefab nested in another one. Keeps the document alive even if the cache drops it.
class NestedPrefab {
public:
    NestedPrefab() = default;
    NestedPrefab(const GameObjectPrefab* prefab, SmartPointer<SafeReferenceCount> owner)
        : m_prefab(prefab), m_owner(std::move(owner)) {}

    /// Null when the prefab could not be loaded.
    [[nodiscard]] const GameObjectPrefab* get() const noexcept { return m_prefab; }

private:
    const GameObjectPrefab* m_prefab = nullptr;
    SmartPointer<SafeReferenceCount> m_owner;
};

/// The prefab of a resource path, from the prefab service: parsed now unless it is cached. Any thread. This is the only
/// call from the document to the service; it is defined in prefab_component/service/.
[[nodiscard]] NestedPrefab loadNestedPrefab(const std::string& resource);

} // namespace Kiln::Tessel::detail
