#pragma once

#include <core/api.h>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace Kiln::Tessel {

/// A handle to an object: its world, its index there, and its serial number, which no other object of the world has.
class GameObject {
public:
    static const GameObject INVALID_GAME_OBJECT;

    constexpr GameObject() noexcept = default;
    constexpr GameObject(int worldId, std::size_t index, std::uint64_t serial) noexcept
        : m_worldId(worldId), m_index(index), m_serial(serial) {}

    [[nodiscard]] constexpr bool isInvalid() const noexcept { return m_serial == 0; }
    [[nodiscard]] constexpr int getWorldId() const noexcept { return m_worldId; }
    [[nodiscard]] constexpr std::size_t index() const noexcept { return m_index; }
    [[nodiscard]] constexpr std::uint64_t serial() const noexcept { return m_serial; }

    friend constexpr bool operator==(const GameObject&, const GameObject&) noexcept = default;

private:
    int m_worldId = -1;
    std::size_t m_index = 0;
    std::uint64_t m_serial = 0;
};

inline constexpr GameObject GameObject::INVALID_GAME_OBJECT{};

class GameObjectManager;

/// Null when there is no such world.
[[nodiscard]] MINIMAL_API GameObjectManager* getGameObjectManager(int worldId);
[[nodiscard]] MINIMAL_API GameObjectManager* getGameObjectManager(GameObject object);

[[nodiscard]] MINIMAL_API bool isValid(GameObject object);
MINIMAL_API void removeGameObject(const GameObject& object);

} // namespace Kiln::Tessel

template <>
struct std::hash<Kiln::Tessel::GameObject> {
    std::size_t operator()(const Kiln::Tessel::GameObject& object) const noexcept { return object.serial(); }
};
