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

/// A world for one run, so that every run starts without objects.
class KilnWorld : NonCopyable {
public:
    KilnWorld();
    ~KilnWorld();

    /// Creates instances of a cached prefab. Returns the duration of the tick that does so, from reading the document
    /// to activated objects.
    Seconds create(const std::string& path, std::size_t instances);

    /// The same for one instance of a given UUID.
    Seconds create(const std::string& path, const Uuid& instanceUuid);

    /// Removes the roots that were created. Returns the duration.
    Seconds removeAll();

    /// Lets a worker read a file that is not cached. Waits until the worker has also walked the document, and returns
    /// the time until the document was published.
    Seconds read(const std::string& path);

    [[nodiscard]] int id() const { return m_id; }
    [[nodiscard]] const std::vector<Tessel::GameObject>& roots() const { return m_roots; }
    [[nodiscard]] Tessel::GameObjectManager& manager() const;

private:
    /// Runs the tick that creates the queued instances.
    Seconds tick(std::size_t expectedRoots);

    int m_id;
    std::vector<Tessel::GameObject> m_roots;
};

/// Caches a file and its nested files.
void cache(const std::string& path);

/// Waits until no background task is left.
void waitForWorkers();

} // namespace Kiln::Benchmarks
