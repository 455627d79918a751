// Measures the limits of the streaming library: the gain of a second worker, the part of the main thread, frames under
// a budget, requests that wait, cancels, and updates of live instances. Prints a line for each limit; the exit status
// is 1 if one is missed. An argument restricts the run to the subjects whose names contain it.

#include "counted_allocations.h"
#include "kiln_runs.h"
#include "packed_workload.h"
#include "samples.h"
#include "workload_files.h"

#include <core/log.h>
#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_streaming/streaming.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <time.h>

using namespace Kiln;
using namespace Kiln::Benchmarks;
using Tessel::EntryPoint;
namespace Loading = Tessel::Loading;
namespace Streaming = Tessel::Streaming;
using Streaming::LoadHandle;
using Streaming::LoadOptions;

namespace {

constexpr int REPETITIONS = 11;
constexpr std::chrono::microseconds BUDGET{2000};

bool isAnyMissed = false;

void report(const char* what, double value, double limit, bool isMost = true) {
    const bool isKept = isMost ? value <= limit : value >= limit;
    std::printf("%-72s %9.3f  %s %.3f, %s\n", what, value, isMost ? "at most" : "at least", limit,
                isKept ? "kept" : "MISSED");
    isAnyMissed = isAnyMissed || !isKept;
}

/// For a value that has no limit of its own.
void state(const char* what, double value) {
    std::printf("%-72s %9.3f\n", what, value);
}

[[nodiscard]] double median(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    return quantile(samples, 0.5);
}

/// Processor time of the current thread.
[[nodiscard]] double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

template <class Function>
[[nodiscard]] double secondsOf(const Function& function) {
    const Clock::time_point start = Clock::now();
    function();
    return Seconds(Clock::now() - start).count();
}

/// The processor time of work that is all done on the main thread: other programs have less influence on it.
template <class Function>
[[nodiscard]] double processorSecondsOf(const Function& function) {
    const double start = processorSeconds();
    function();
    return processorSeconds() - start;
}

void runFrame() {
    EntryPoint::instance().tick();
}

void require(const LoadHandle& handle) {
    if (handle.state() != Streaming::LoadState::SUCCEEDED) {
        for (const Streaming::LoadFailure& failure : handle.result().failures) {
            std::fprintf(stderr, "%s\n", failure.text().c_str());
        }
        throw std::runtime_error("a request has not succeeded");
    }
}

/// The frames of a request, in seconds.
struct Frames {
    std::vector<double> durations;
    std::vector<double> processorTimes;
    double processorSum = 0;
};

/// Runs frames until a request has ended.
[[nodiscard]] Frames framesOf(const LoadHandle& handle) {
    Frames frames;
    while (!handle.isFinished()) {
        const double processorStart = processorSeconds();
        frames.durations.push_back(secondsOf(&runFrame));
        frames.processorTimes.push_back(processorSeconds() - processorStart);
        frames.processorSum += frames.processorTimes.back();
    }
    require(handle);
    return frames;
}

[[nodiscard]] double longest(const std::vector<double>& values) {
    return *std::max_element(values.begin(), values.end());
}

void append(std::vector<double>& to, const std::vector<double>& values) {
    to.insert(to.end(), values.begin(), values.end());
}

/// A request that keeps the documents of a path in the cache.
[[nodiscard]] LoadHandle preloaded(const std::string& path) {
    const LoadHandle handle = Streaming::preload({path});
    while (!handle.isFinished()) {
        runFrame();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    require(handle);
    waitForWorkers();
    return handle;
}

void releaseAll() {
    runFrame();
    runFrame();
    waitForWorkers();
    Loading::fullyClearCache();
}

// Files

constexpr int FILES = 1000;
constexpr std::size_t OBJECTS_OF_FILE = 55; // 40 kB.

[[nodiscard]] std::string fileNumber(int number) {
    return "streamed" + std::to_string(number) + ".prefab";
}

struct PreloadTimes {
    double whole = 0;
    double mainThread = 0; ///< Its processor time for the request and the frames, without that for sleeping.
};

/// Preloads the files with so many workers, in frames of a millisecond.
[[nodiscard]] PreloadTimes preloadFiles(std::size_t workers, const std::vector<std::string>& paths) {
    FileIOTaskManager::instance().setThreadCount(workers);
    releaseAll();
    PreloadTimes times;
    LoadHandle handle;
    times.whole = secondsOf([&] {
        times.mainThread = processorSecondsOf([&] { handle = Streaming::preload(paths); });
        while (!handle.isFinished()) {
            times.mainThread += processorSecondsOf(&runFrame);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    require(handle);
    return times;
}

/// Writes the files and returns their paths.
[[nodiscard]] std::vector<std::string> writeFiles() {
    std::vector<std::string> paths;
    for (int number = 0; number < FILES; ++number) {
        paths.push_back(fileNumber(number));
        writePrefab(makeTree(OBJECTS_OF_FILE, static_cast<std::uint32_t>(number)), filePath(paths.back()));
    }
    return paths;
}

void measurePacks() {
    const std::string prefix = "packed/"; // Only the pack has such paths.
    std::vector<std::string> paths = writeFiles();
    FS::Utils::addResourcePack(writePackOf(paths, prefix, "streamed.kilnpack", false));
    for (std::string& path : paths) {
        path.insert(0, prefix);
    }
    std::vector<double> gains;
    for (int i = 0; i < REPETITIONS; ++i) {
        const double one = preloadFiles(1, paths).whole;
        gains.push_back(one / preloadFiles(2, paths).whole);
    }
    releaseAll();
    FS::Utils::clearResourcePacks();
    report("packs: two workers preload 1000 packed files as many times as fast as one", median(gains), 1.7, false);
}

void measureFiles() {
    const std::vector<std::string> paths = writeFiles();
    std::vector<double> gains;
    std::vector<double> parts;
    for (int i = 0; i < REPETITIONS; ++i) {
        const PreloadTimes one = preloadFiles(1, paths);
        const PreloadTimes two = preloadFiles(2, paths);
        gains.push_back(one.whole / two.whole);
        parts.push_back(two.mainThread / two.whole * 100);
    }
    releaseAll();
    report("files: two workers preload 1000 files as many times as fast as one", median(gains), 1.7, false);
    report("files: percent of that time that the main thread works, with two", median(parts), 5);
}

// Creation of W3

/// Frames of a request for one instance of W3, in a world of its own.
[[nodiscard]] Frames framesOfW3(std::chrono::microseconds budget, Streaming::Activation activation) {
    waitForWorkers(); // One of them may still destroy the UUID map of the creation before.
    Streaming::setFrameBudget(budget);
    const KilnWorld world;
    LoadOptions options;
    options.activation = activation;
    return framesOf(Streaming::load(workload(3).path, world.id(), std::move(options)));
}

/// Creates an inactive instance in one call, without the streaming library.
[[nodiscard]] double secondsOfDirectCreation() {
    waitForWorkers();
    const KilnWorld world;
    const Tessel::GameObjectPrefab& prefab = *prefabService().loadPrefabData(workload(3).path);
    Tessel::GameObjectPrefab::CreateConfig config;
    config.worldId = world.id();
    config.instanceUuid = Uuid::generate();
    return processorSecondsOf([&] {
        if (prefab.createGameObjects(config).size() != workload(3).objectsCount()) {
            throw std::runtime_error("not every object was created");
        }
    });
}

void measureCreation() {
    using Streaming::Activation;
    constexpr int RUNS = 31; // So that there are about a thousand frames.
    const LoadHandle document = preloaded(workload(3).path);
    std::vector<double> direct;
    std::vector<double> inOneGo;
    std::vector<double> inFrames;
    Frames frames;
    std::vector<double> activation;
    std::vector<double> subtrees;
    for (int i = 0; i < RUNS; ++i) {
        direct.push_back(secondsOfDirectCreation());
        inOneGo.push_back(framesOfW3(Streaming::NO_FRAME_BUDGET, Activation::NONE).processorSum);
        const Frames budgeted = framesOfW3(BUDGET, Activation::NONE);
        inFrames.push_back(budgeted.processorSum);
        append(frames.durations, budgeted.durations);
        append(frames.processorTimes, budgeted.processorTimes);
        activation.push_back(longest(framesOfW3(BUDGET, Activation::AT_ONCE).processorTimes));
        subtrees.push_back(longest(framesOfW3(BUDGET, Activation::BY_SUBTREE).processorTimes));
    }
    std::sort(frames.durations.begin(), frames.durations.end());
    std::sort(frames.processorTimes.begin(), frames.processorTimes.end());
    state("W3: createGameObjects, ms", median(direct) * 1000);
    state("W3, 2 ms: number of frames, without activation", static_cast<double>(frames.durations.size()));
    state("W3, 2 ms: median of the frames, ms", quantile(frames.durations, 0.5) * 1000);
    state("W3, 2 ms: 99th percentile of the frames, ms", quantile(frames.durations, 0.99) * 1000);
    report("W3, 2 ms: 99.9th percentile of the frames, ms", quantile(frames.durations, 0.999) * 1000, 2.2);
    state("W3, 2 ms: the same in processor time, ms", quantile(frames.processorTimes, 0.999) * 1000);
    state("W3, 2 ms: the frame of an activation in one step, ms", median(activation) * 1000);
    state("W3, 2 ms: the longest frame with activation by subtree, ms", median(subtrees) * 1000);
    report("W3, 2 ms: sum of the frames / creation in one go", median(inFrames) / median(inOneGo), 1.15);
    report("W3, no budget: creation in one go / createGameObjects", median(inOneGo) / median(direct), 1.02);
}

/// Cancels an instance of W3 when half of its objects exist; the time until nothing of it is left.
[[nodiscard]] double secondsOfCancel() {
    Streaming::setFrameBudget(BUDGET);
    const KilnWorld world;
    const LoadHandle handle = Streaming::load(workload(3).path, world.id());
    const std::size_t half = workload(3).objectsCount() / 2;
    while (handle.progress().objectsCreated < half) {
        runFrame();
        if (handle.isFinished()) {
            throw std::runtime_error("the instance was complete before it was cancelled");
        }
    }
    if (world.manager().gameObjectsCount() < half) {
        throw std::runtime_error("the instance is not half-made");
    }
    return processorSecondsOf([&] {
        handle.cancel();
        while (world.manager().gameObjectsCount() > 0) {
            runFrame();
        }
    });
}

void measureCancel() {
    const LoadHandle document = preloaded(workload(3).path);
    std::vector<double> cancels;
    std::vector<double> creations;
    for (int i = 0; i < REPETITIONS; ++i) {
        creations.push_back(framesOfW3(Streaming::NO_FRAME_BUDGET, Streaming::Activation::NONE).processorSum);
        waitForWorkers();
        cancels.push_back(secondsOfCancel());
    }
    report("cancel of a half-made W3 / its creation", median(cancels) / median(creations), 1);
}

// Requests that wait

/// Keeps all workers busy during its lifetime.
class BlockedWorkers : NonCopyable {
public:
    BlockedWorkers() {
        TaskManager& manager = FileIOTaskManager::instance();
        for (std::size_t worker = 0; worker < manager.threadCount(); ++worker) {
            manager.addBackgroundTask(makeSmart<Task>(m_isOver, m_blocked), 1000);
        }
        while (m_blocked < manager.threadCount()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    ~BlockedWorkers() {
        m_isOver = true;
        waitForWorkers();
    }

private:
    class Task final : public BackgroundTask {
    public:
        Task(const std::atomic<bool>& isOver, std::atomic<std::size_t>& blocked)
            : BackgroundTask("Blocker"), m_isOver(isOver), m_blocked(blocked) {}
        void doBackgroundTask(TaskManager& /*manager*/) override {
            ++m_blocked;
            while (!m_isOver) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }

    private:
        const std::atomic<bool>& m_isOver;
        std::atomic<std::size_t>& m_blocked;
    };

    std::atomic<bool> m_isOver = false;
    std::atomic<std::size_t> m_blocked = 0;
};

/// Durations of frames, in nanoseconds, and the allocations in them.
struct IdleFrames {
    std::vector<double> nanoseconds;
    std::size_t allocations = 0;
};

[[nodiscard]] IdleFrames idleFrames() {
    constexpr std::size_t FRAMES = 1001;
    IdleFrames frames;
    frames.nanoseconds.reserve(FRAMES);
    runFrame();
    const std::size_t before = allocationsCount();
    for (std::size_t frame = 0; frame < FRAMES; ++frame) {
        frames.nanoseconds.push_back(secondsOf(&runFrame) * 1e9);
    }
    frames.allocations = allocationsCount() - before;
    return frames;
}

void measureWaiting() {
    constexpr int REQUESTS = 1000;
    const KilnWorld world;
    const IdleFrames without = idleFrames();
    IdleFrames with;
    {
        const BlockedWorkers blocked;
        std::vector<LoadHandle> handles;
        for (int request = 0; request < REQUESTS; ++request) {
            handles.push_back(Streaming::load(fileNumber(request), world.id()));
        }
        with = idleFrames();
        if (Streaming::statistics().pendingRequests != REQUESTS) {
            throw std::runtime_error("not every request waits");
        }
    }
    releaseAll();
    report("ns per waiting request and frame, at 1000", median(with.nanoseconds) / REQUESTS, 50);
    // The framework itself allocates in each frame.
    report("allocations in 1001 frames, more than without requests",
           static_cast<double>(with.allocations) - static_cast<double>(without.allocations), 0);
}

// Updates

constexpr const char* UPDATED = "updated.prefab";
constexpr std::size_t INSTANCES = 1000;

/// Writes a prefab of ten objects of which one has that mass. The file appears complete.
void writeUpdated(float mass) {
    Nodes nodes = makeTree(10, 5);
    nodes[7].mass = mass;
    writePrefab(nodes, filePath("updated.part"));
    std::filesystem::rename(filePath("updated.part"), filePath(UPDATED));
}

[[nodiscard]] LoadHandle spawned(int worldId, bool follows) {
    LoadOptions options;
    options.follow = follows;
    return Streaming::spawn(UPDATED, worldId, std::vector<Matrix>(INSTANCES), std::move(options));
}

/// Changes the file and adds up the frames until all instances have been updated.
[[nodiscard]] double secondsOfUpdate(float mass) {
    std::size_t updates = 0;
    Streaming::UpdateListener listener;
    listener.onUpdated = [&updates](const Streaming::InstanceUpdate& update) {
        updates += update.changed.size() == 1 && update.added.empty() && update.removed.empty() ? 1 : 0;
    };
    const int id = Streaming::addUpdateListener(std::move(listener));
    writeUpdated(mass);
    double sum = 0;
    const Clock::time_point end = Clock::now() + std::chrono::seconds(20);
    while (updates < INSTANCES) {
        if (Clock::now() > end) {
            throw std::runtime_error("the instances were not updated");
        }
        sum += processorSecondsOf(&runFrame);
        // A new file is found after several hundred milliseconds; frames without work shall not count for much.
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    Streaming::removeUpdateListener(id);
    return sum;
}

void measureUpdates() {
    Streaming::setFrameBudget(Streaming::NO_FRAME_BUDGET);
    writeUpdated(1);
    const LoadHandle document = preloaded(UPDATED);
    std::vector<double> creations;
    for (int i = 0; i < REPETITIONS; ++i) {
        const KilnWorld world;
        creations.push_back(framesOf(spawned(world.id(), false)).processorSum);
    }
    const KilnWorld world;
    const LoadHandle instances = spawned(world.id(), true);
    (void)framesOf(instances);
    Streaming::watch(true);
    std::vector<double> updates;
    for (int i = 0; i < REPETITIONS; ++i) {
        updates.push_back(secondsOfUpdate(static_cast<float>(i + 2)));
    }
    Streaming::watch(false);
    state("1000 instances of ten objects: creation, ms", median(creations) * 1000);
    state("1000 instances of ten objects: update of one property, ms", median(updates) * 1000);
    report("1000 instances: update of one property / creation", median(updates) / median(creations), 0.2);
}

} // namespace

int main(int argc, char** argv) {
    const ScopedLogSink silence([](const LogMessage& message) {
        if (message.severity >= LogSeverity::ERROR) {
            std::fprintf(stderr, "[%d] %.*s\n", message.severity, static_cast<int>(message.text.size()),
                         message.text.data());
        }
    });
    const std::string chosen = argc > 1 ? argv[1] : "";
    const std::pair<const char*, void (*)()> subjects[] = {
        {"files", &measureFiles},   {"packs", &measurePacks},     {"creation", &measureCreation},
        {"cancel", &measureCancel}, {"waiting", &measureWaiting}, {"updates", &measureUpdates}};
    (void)workload(1); // Creates the directory of the files.
    for (const auto& [name, measure] : subjects) {
        if (std::string(name).find(chosen) != std::string::npos) {
            measure();
            releaseAll();
        }
    }
    return isAnyMissed ? 1 : 0;
}
