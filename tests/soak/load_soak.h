#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <support/temporary_directory.h>

#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace Kiln::Soak {

/// What a run did so far.
struct Totals {
    std::size_t rounds = 0;
    std::size_t loads = 0;   ///< Loads that were requested; each has got every call of its callback once.
    std::size_t objects = 0; ///< Objects that the loads created.
    std::size_t missingFiles = 0;
    std::size_t malformedFiles = 0;
    std::size_t wrongVersions = 0;
    std::size_t exceptions = 0; ///< Thrown by constructors of components.
    std::size_t abandoned = 0;  ///< Loads whose world was destroyed before they finished.
    std::size_t cacheClears = 0;
    std::size_t worlds = 0;
    std::size_t messages = 0;

    [[nodiscard]] std::size_t faults() const {
        return missingFiles + malformedFiles + wrongVersions + exceptions + abandoned;
    }
};

/// Ends the process with exit status 1 when the condition does not hold.
void require(bool condition, const std::string& what);

/// Loads prefabs into many worlds without end: from files and sections, in chains that callbacks continue, while
/// another thread caches prefabs, the cache is cleared, files are missing or malformed, components throw and worlds are
/// destroyed. Every instance is checked, and every load is accounted for.
///
/// Lifetime: one in a process. The callbacks of loads that wait refer to it, so that it must outlive all frames;
/// workers do not use it. Main thread.
class LoadSoak : NonCopyable {
public:
    /// Writes its files into `directory`, which becomes the only resource root.
    LoadSoak(unsigned seed, const TestSupport::TemporaryDirectory& directory);

    /// Requests some dozens of loads, waits for them, checks the counts and removes all objects. Afterwards nothing
    /// waits except abandoned loads, of which a run makes only few, and the cache is empty.
    void runRound();

    /// Requests loads and runs a frame, without waiting for them.
    void startLoads();

    [[nodiscard]] Totals totals() const;

private:
    class Callback;
    class AbandonedCallback;

    /// The loads of a round by their progress.
    struct Counts {
        std::size_t issued = 0;
        std::size_t preactivated = 0;
        std::size_t loaded = 0;
        std::size_t loadedIntoHierarchy = 0;
        std::size_t released = 0;
    };

    void createWorlds();
    void load(int worldId, int kind, bool fromSection, int furtherLoads);
    void loadAtRandom();
    void loadFaultyFile();
    void abandonLoad();
    void disturbCache();
    void settle();
    void completeFaultyLoads();
    void checkCounts();
    void removeObjects();
    [[nodiscard]] bool isOneIn(unsigned number) { return m_random() % number == 0; }
    [[nodiscard]] int anyWorld() { return m_worlds[m_random() % m_worlds.size()]; }

    std::mt19937 m_random;
    std::vector<int> m_worlds;
    std::shared_ptr<Counts> m_counts = std::make_shared<Counts>();
    Totals m_totals;
};

} // namespace Kiln::Soak
