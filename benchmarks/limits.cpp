// Measures the limits that are not ratios of two creations: memory, the duration of ticks while workers read or loads
// wait, and the gain of a second worker. Prints a line for each; the exit status is 1 if a limit is exceeded.

#include "kiln_runs.h"
#include "samples.h"
#include "workload_files.h"

#include <core/log.h>
#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/loading.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <thread>

#include <malloc.h>

using namespace Kiln;
using namespace Kiln::Benchmarks;
using Tessel::EntryPoint;
namespace Loading = Tessel::Loading;

namespace {

bool isAnyExceeded = false;

void report(const char* what, double value, double limit, bool isMost = true) {
    const bool isExceeded = isMost ? value > limit : value < limit;
    std::printf("%-64s %10.2f  %s %.2f%s\n", what, value, isMost ? "at most" : "at least", limit,
                isExceeded ? "  EXCEEDED" : "");
    isAnyExceeded = isAnyExceeded || isExceeded;
}

/// Number of bytes that are allocated now, in the heap and in separate mappings.
[[nodiscard]] double allocatedBytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

void measureMemory() {
    const Workload& workload = Benchmarks::workload(3);
    Loading::fullyClearCache();
    const double before = allocatedBytes();
    cache(workload.path);
    const double withDocument = allocatedBytes();
    KilnWorld world;
    world.create(workload.path, 1);
    waitForWorkers(); // One of them destroys the UUID map.
    const double withObjects = allocatedBytes();
    report("memory of a document, per byte of its file",
           (withDocument - before) / static_cast<double>(std::filesystem::file_size(filePath(workload.path))), 0.7);
    // The UUID map no longer exists after the creation; count the node and the bucket of each object.
    constexpr double MAP_BYTES = 48 + 8;
    report("bytes per live object, with its part of the UUID map",
           (withObjects - withDocument) / static_cast<double>(workload.objectsCount()) + MAP_BYTES, 460);
}

void measureGrowth() {
    const Workload& workload = Benchmarks::workload(1);
    KilnWorld world;
    const auto cycle = [&] {
        world.read(workload.path);
        world.removeAll();
        Loading::fullyClearCache();
    };
    for (int i = 0; i < 50; ++i) {
        cycle();
    }
    const double before = allocatedBytes();
    for (int i = 0; i < 1000; ++i) {
        cycle();
    }
    report("kilobytes more after 1000 cycles of load, remove and clear", (allocatedBytes() - before) / 1000, 16);
}

constexpr int FILES = 1000;

[[nodiscard]] std::string fileNumber(int number) {
    return "file" + std::to_string(number) + ".prefab";
}

void writeFiles() {
    for (int number = 0; number < FILES; ++number) {
        writePrefab(makeTree(100, static_cast<std::uint32_t>(number)), filePath(fileNumber(number)));
    }
}

void loadFiles(int worldId) {
    for (int number = 0; number < FILES; ++number) {
        prefabService().loadGameObject(fileNumber(number), worldId, Uuid::generate(), nullptr, nullptr);
    }
}

void measureTicks() {
    const int worldId = EntryPoint::instance().createWorld();
    const int doomedWorld = EntryPoint::instance().createWorld();
    Loading::fullyClearCache();
    std::vector<double> microseconds;
    loadFiles(doomedWorld);
    EntryPoint::instance().destroyWorld(doomedWorld); // So that the ticks create nothing.
    while (FileIOTaskManager::instance().unfinishedTasks() > 0) {
        const Clock::time_point start = Clock::now();
        EntryPoint::instance().tick();
        microseconds.push_back(Seconds(Clock::now() - start).count() * 1e6);
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    std::sort(microseconds.begin(), microseconds.end());
    report("ms of the 99.9th percentile of ticks while 1000 files load", quantile(microseconds, 0.999) / 1000, 0.2);
    EntryPoint::instance().destroyWorld(worldId);
}

/// Runs `submit` with a world, waits until the workers have finished its requests, and returns the duration.
template <class Submit>
[[nodiscard]] double secondsOfWorkers(std::size_t workers, Submit submit) {
    FileIOTaskManager::instance().setThreadCount(workers);
    Loading::fullyClearCache();
    const int worldId = EntryPoint::instance().createWorld();
    const Clock::time_point start = Clock::now();
    submit(worldId);
    waitForWorkers();
    const double seconds = Seconds(Clock::now() - start).count();
    EntryPoint::instance().tick();
    EntryPoint::instance().destroyWorld(worldId);
    return seconds;
}

/// The speed of two workers relative to one.
template <class Submit>
[[nodiscard]] double gainOfTwoWorkers(Submit submit) {
    std::vector<double> ratios;
    for (int i = 0; i < 11; ++i) {
        const double one = secondsOfWorkers(1, submit);
        ratios.push_back(one / secondsOfWorkers(2, submit));
    }
    std::sort(ratios.begin(), ratios.end());
    return quantile(ratios, 0.5);
}

void measureWorkers() {
    std::vector<SmartPointer<DataSection>> sections;
    for (int number = 0; number < FILES; ++number) {
        sections.push_back(FS::Utils::openXmlSection(fileNumber(number), false));
    }
    report("two workers parse 1000 sections as many times as fast as one", gainOfTwoWorkers([&sections](int worldId) {
               for (const SmartPointer<DataSection>& section : sections) {
                   prefabService().loadGameObject(section, worldId, Uuid::generate(), nullptr, nullptr);
               }
           }),
           1.7, false);
    // Files are parsed under the cache's lock, so two are never parsed at the same time. A second worker must not slow
    // down the first one by more than repetitions vary.
    report("two workers read 1000 files as many times as fast as one", gainOfTwoWorkers(&loadFiles), 0.95, false);
}

/// Must run last, because its loads stay queued for ever.
void measureWaitingLoads() {
    constexpr int LOADS = 100'000;
    KilnWorld world;
    for (int i = 0; i < LOADS; ++i) {
        prefabService().loadGameObject("missing.prefab", world.id(), Uuid::generate(), nullptr, nullptr);
    }
    waitForWorkers();
    std::vector<double> nanoseconds;
    for (int i = 0; i < 101; ++i) {
        const Clock::time_point start = Clock::now();
        prefabService().tick();
        nanoseconds.push_back(Seconds(Clock::now() - start).count() * 1e9 / LOADS);
    }
    std::sort(nanoseconds.begin(), nanoseconds.end());
    report("ns per waiting load and tick, at 100000", quantile(nanoseconds, 0.5), 10);
}

} // namespace

int main() {
    const ScopedLogSink silence([](const LogMessage&) {});
    measureMemory();
    measureGrowth();
    writeFiles();
    measureWorkers();
    measureTicks();
    measureWaitingLoads();
    return isAnyExceeded ? 1 : 0;
}
