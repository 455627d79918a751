#pragma once

#include <core/safe_reference_count.h>
#include <core/smart_pointer.h>

#include <span>
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

/// Supplies the nested prefabs of one creation instead of the prefab service.
///
/// Owner: the caller of the creation, which it outlives. Threads: the main thread. Failure: an integration point for
/// which load() returns a NestedPrefab without a prefab is left out without a message. An exception ends the creation.
class INestedPrefabs {
public:
    /// The prefab of a resource path, after the overrides of the integration point that names it. `enclosing` lists the
    /// prefabs that enclose the point, from the top prefab to the one that contains it; it is valid during the call.
    /// Is not called again for a point that follows in the same prefab instance and names the same resource.
    [[nodiscard]] virtual NestedPrefab load(const std::string& resource,
                                            std::span<const GameObjectPrefab* const> enclosing) = 0;

protected:
    INestedPrefabs() = default;
    INestedPrefabs(const INestedPrefabs&) = default;
    INestedPrefabs& operator=(const INestedPrefabs&) = default;
    ~INestedPrefabs() = default;
};

} // namespace Kiln::Tessel::detail
