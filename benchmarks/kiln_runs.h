#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <object_framework/game_object.h>
#include <object_framework/game_object_manager.h>
#include <tessel_asset_loading/prefab_service.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::Benchmarks {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

[[nodiscard]] Tessel::PrefabService& prefabService();

/// A world of its own for each run, so that every run starts from nothing.
class KilnWorld : NonCopyable {
public:
    KilnWorld();
    ~KilnWorld();

    /// Creates instances of a prefab that is in the cache; the time of the tick that does it, from seeing the document
    /// to activated objects.
    Seconds create(const std::string& path, std::size_t instances);

    /// The same for one instance of a given UUID.
    Seconds create(const std::string& path, const Uuid& instanceUuid);

    /// Removes the roots that were created; the time that it takes.
    Seconds removeAll();

    /// Has a worker read a file that is not in the cache; the time until the document is published. Returns after the
    /// worker's walk through it.
    Seconds read(const std::string& path);

    [[nodiscard]] int id() const { return m_id; }
    [[nodiscard]] const std::vector<Tessel::GameObject>& roots() const { return m_roots; }
    [[nodiscard]] Tessel::GameObjectManager& manager() const;

private:
    /// Runs the tick that creates what is queued.
    Seconds tick(std::size_t expectedRoots);

    int m_id;
    std::vector<Tessel::GameObject> m_roots;
};

/// Puts a file and what it nests into the cache.
void cache(const std::string& path);

/// Waits until the workers have nothing to do.
void waitForWorkers();

} // namespace Kiln::Benchmarks
