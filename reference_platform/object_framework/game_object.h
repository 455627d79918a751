#pragma once

#include <object_framework/export.h>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace Kiln::Tessel {

/// A handle to a game object of a world: a small value, cheap to copy and to compare. It never dangles: when its
/// object or world no longer exists, it is no longer valid (see isValid()), even if a new object uses the same index.
class GameObject {
public:
    /// The handle that refers to no object, which is also the default.
    static const GameObject INVALID_GAME_OBJECT;

    constexpr GameObject() noexcept = default;
    /// For managers: a handle to the object that uses that index with that serial number.
    constexpr GameObject(int worldId, std::uint32_t index, std::uint64_t serial) noexcept
        : m_serial(serial),
          m_worldAndIndex(static_cast<std::uint64_t>(static_cast<std::uint32_t>(worldId)) << 32U | index) {}

    /// Whether this is INVALID_GAME_OBJECT; a handle to an object that no longer exists is not.
    [[nodiscard]] constexpr bool isInvalid() const noexcept { return *this == GameObject(); }

    /// -1 for the invalid object.
    [[nodiscard]] constexpr int getWorldId() const noexcept {
        return static_cast<std::int32_t>(m_worldAndIndex >> 32U);
    }

    /// Index in the world's table of objects.
    [[nodiscard]] constexpr std::uint32_t index() const noexcept { return static_cast<std::uint32_t>(m_worldAndIndex); }

    /// Serial number of the object in its world, from 1; distinguishes it from other objects that have used the same
    /// index.
    [[nodiscard]] constexpr std::uint64_t serial() const noexcept { return m_serial; }

    friend constexpr bool operator==(const GameObject&, const GameObject&) noexcept = default;

private:
    std::uint64_t m_serial = 0;
    std::uint64_t m_worldAndIndex = ~std::uint64_t{0}; ///< One member, so that a handle fits in two registers.
};

inline constexpr GameObject GameObject::INVALID_GAME_OBJECT{};

class GameObjectManager;

/// The manager of a world; null when the world is not valid. Main thread.
[[nodiscard]] KILN_OBJECT_FRAMEWORK_EXPORT GameObjectManager* getGameObjectManager(int worldId);

/// The manager of the object's world; null when the world is not valid or the object is the invalid object. Main
/// thread.
[[nodiscard]] KILN_OBJECT_FRAMEWORK_EXPORT GameObjectManager* getGameObjectManager(GameObject object);

/// Whether the object is alive. Main thread.
[[nodiscard]] KILN_OBJECT_FRAMEWORK_EXPORT bool isValid(GameObject object);

/// Calls removeGameObject() of the object's world; does nothing when the world is not valid. Main thread.
KILN_OBJECT_FRAMEWORK_EXPORT void removeGameObject(const GameObject& object);

} // namespace Kiln::Tessel

template <>
struct std::hash<Kiln::Tessel::GameObject> {
    std::size_t operator()(const Kiln::Tessel::GameObject& object) const noexcept {
        // Fibonacci hashing; the serial alone tells the objects of one world apart.
        return static_cast<std::size_t>(object.serial()) * 0x9e3779b97f4a7c15ULL +
               static_cast<std::size_t>(object.getWorldId());
    }
};
