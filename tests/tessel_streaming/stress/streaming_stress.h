#pragma once

#include "stress_component.h"
#include "stress_files.h"
#include "tracked_request.h"

#include <core/non_copyable.h>
#include <object_framework/game_object.h>
#include <object_framework/query.h>
#include <support/temporary_directory.h>
#include <tessel_streaming/streaming.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace Kiln::StreamingStress {

/// What a run did.
struct Counts {
    std::size_t operations = 0;
    std::size_t nestedOperations = 0; ///< Those from inside of completion functions, listeners and components.
    std::size_t frames = 0;
    std::size_t rounds = 0;
    std::size_t loads = 0;
    std::size_t spawns = 0;
    std::size_t preloads = 0;
    std::size_t succeeded = 0;
    std::size_t partial = 0; ///< Of those that succeeded.
    std::size_t failed = 0;
    std::size_t cancelled = 0;
    std::size_t cancels = 0;
    std::size_t drops = 0;
    std::size_t priorities = 0;
    std::size_t worldsDestroyed = 0;
    std::size_t cachesCleared = 0;
    std::size_t filesChanged = 0;
    std::size_t componentExceptions = 0;
    std::size_t functionExceptions = 0;
    std::size_t updates = 0;
    std::size_t refusedUpdates = 0;
    std::size_t traceEvents = 0;
    std::size_t checks = 0; ///< Requests that were checked after a frame.
};

/// Performs random operations of the streaming library, also from inside of everything that the library calls, while
/// files change, components throw and worlds are destroyed. Checks every request after every frame, and at the end of a
/// round that everything has ended and that nothing is left.
///
/// Main thread; one in a process.
class StreamingStress : NonCopyable {
public:
    StreamingStress(unsigned seed, const TestSupport::TemporaryDirectory& directory);
    ~StreamingStress();

    /// Performs that many operations, in rounds.
    void run(std::size_t operations);

    [[nodiscard]] Counts counts() const;

private:
    static constexpr std::size_t OPERATIONS_OF_ROUND = 500;
    static constexpr std::size_t MAX_HANDLES = 120;
    static constexpr std::size_t MAX_OBJECTS = 20'000; ///< Of a world.

    using Visible = Tessel::Query<StressComponent, Tessel::GameObject>;

    struct StressWorld {
        int id = -1;
        Tessel::GameObject parent; ///< For instances; the invalid object if it was removed.
        std::shared_ptr<Visible> visible;
    };

    class InsideLibrary;

    [[nodiscard]] bool isOneIn(unsigned number) { return m_random() % number == 0; }
    [[nodiscard]] TrackedRequest* anyTracked();
    [[nodiscard]] StressWorld& anyWorld() { return m_worlds[m_random() % m_worlds.size()]; }

    // One operation; the first form chooses.
    void act();
    void makeRequest();
    void useHandle();
    void disturb();
    void actInside();

    void load();
    void spawn();
    void preload();
    [[nodiscard]] Tessel::Streaming::LoadOptions anyOptions(const StressWorld& world);
    [[nodiscard]] int anyPriority() { return static_cast<int>(m_random() % 300) - 20; }
    [[nodiscard]] TrackedRequest& track(const TrackedRequest::Description& description);
    [[nodiscard]] std::uint64_t nextId() const noexcept { return m_firstId + m_requests.size(); }
    [[nodiscard]] Tessel::Streaming::CompletionFunction functionFor(TrackedRequest& tracked, std::size_t function);
    static Waiter waitFor(StreamingStress& stress, TrackedRequest& tracked, Tessel::Streaming::LoadHandle handle);
    void addWaiter(TrackedRequest& tracked);
    void onReported(TrackedRequest& tracked, const Tessel::Streaming::LoadResult& result, bool isFirst);

    void checkOrder(const TrackedRequest& reported) const;

    void createWorlds();
    void destroyWorld();
    void removeRoots(std::size_t which);
    void changeBudget();
    void toggleTrace();
    void setHooks();
    void throwSometimes();

    void tick();
    void checkRequests();
    void checkVisible();

    void settle();
    void waitUntilEnded();
    void checkWorlds();
    void dropEverything();
    void checkBaseline();

    std::mt19937 m_random;
    StressFiles m_files;
    std::thread::id m_mainThread = std::this_thread::get_id();
    std::vector<StressWorld> m_worlds;
    std::vector<std::unique_ptr<TrackedRequest>> m_requests; ///< Of this round; by id minus m_firstId.
    std::uint64_t m_firstId = 1;
    int m_depth = 0;            ///< Operations that are being performed.
    int m_callsOfRequests = 0;  ///< Calls of the library that must not report anything.
    int m_ticks = 0;            ///< That are running.
    bool m_isDisturbing = true; ///< Whether hooks throw and perform operations.
    bool m_isTracing = false;
    int m_listener = 0;
    unsigned m_constructions = 0;
    std::atomic<unsigned> m_preloads = 0; ///< Calls of preload(); workers.
    std::atomic<bool> m_arePreloadsThrowing = true;
    std::atomic<std::size_t> m_preloadExceptions = 0;
    std::atomic<std::size_t> m_traceEvents = 0;
    std::int64_t m_configsAtStart = 0;
    Counts m_counts;
};

} // namespace Kiln::StreamingStress
