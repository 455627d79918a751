#include "benchmarks.h"

#include "kiln_runs.h"
#include "packed_workload.h"
#include "workload_files.h"

#include <resource/data_section.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/loading.h>

#include <string>
#include <thread>

#include <pugixml.hpp>

namespace Kiln::Benchmarks {

namespace {

constexpr int NUMBER = 3;

void report(benchmark::State& state) {
    state.counters["units"] = static_cast<double>(workload(NUMBER).objectsCount());
}

void readWithKiln(benchmark::State& state) {
    const Workload& workload = Benchmarks::workload(NUMBER);
    for (auto iteration : state) {
        Tessel::Loading::fullyClearCache();
        KilnWorld world;
        state.SetIterationTime(world.read(workload.path).count());
    }
    report(state);
}

/// Comes before the paths of documents that only a pack has.
constexpr const char* PACKED_PREFIX = "packed/";

/// Packs a copy of the workload; returns the name of the pack.
[[nodiscard]] const std::string& packedWorkload(bool isCompressed) {
    const auto make = [](const char* name, bool isZstd) {
        return writePackOf({workload(NUMBER).path}, PACKED_PREFIX, name, isZstd);
    };
    if (isCompressed) {
        static const std::string compressed = make("W3-zstd.kilnpack", true);
        return compressed;
    }
    static const std::string plain = make("W3.kilnpack", false);
    return plain;
}

/// The time includes mapping the pack.
void readFromPack(benchmark::State& state, bool isCompressed) {
    const std::string& pack = packedWorkload(isCompressed);
    for (auto iteration : state) {
        Tessel::Loading::fullyClearCache();
        FS::Utils::clearResourcePacks();
        KilnWorld world;
        const Clock::time_point start = Clock::now();
        FS::Utils::addResourcePack(pack);
        const Seconds opening = Clock::now() - start;
        state.SetIterationTime((opening + world.read(PACKED_PREFIX + workload(NUMBER).path)).count());
    }
    FS::Utils::clearResourcePacks();
    report(state);
}

void readFromPlainPack(benchmark::State& state) {
    readFromPack(state, false);
}

void readFromCompressedPack(benchmark::State& state) {
    readFromPack(state, true);
}

void readWithPugixml(benchmark::State& state) {
    const std::string file = filePath(workload(NUMBER).path);
    for (auto iteration : state) {
        bool isRead = false;
        // In a separate thread, as on a worker: memory that the allocator has kept for the main thread from earlier
        // workloads would be an advantage.
        std::thread([&] {
            pugi::xml_document document;
            const Clock::time_point start = Clock::now();
            isRead = static_cast<bool>(document.load_file(file.c_str()));
            state.SetIterationTime(Seconds(Clock::now() - start).count());
        }).join();
        if (!isRead) {
            state.SkipWithError("the file could not be read");
        }
    }
    report(state);
}

void writeWithKiln(benchmark::State& state) {
    const Workload& workload = Benchmarks::workload(NUMBER);
    const std::string file = filePath("written.prefab");
    cache(workload.path);
    const Tessel::GameObjectPrefab& prefab = *prefabService().loadPrefabData(workload.path);
    for (auto iteration : state) {
        const Clock::time_point start = Clock::now();
        const SmartPointer<DataSection> section = DataSection::create("prefab");
        prefab.serialize(section);
        const bool isWritten = section->saveFile(file);
        state.SetIterationTime(Seconds(Clock::now() - start).count());
        if (!isWritten) {
            state.SkipWithError("the file could not be written");
        }
    }
    report(state);
}

void writeWithPugixml(benchmark::State& state) {
    const std::string file = filePath("written-by-pugixml.prefab");
    pugi::xml_document document;
    document.load_file(filePath(workload(NUMBER).path).c_str());
    for (auto iteration : state) {
        const Clock::time_point start = Clock::now();
        const bool isWritten = document.save_file(file.c_str());
        state.SetIterationTime(Seconds(Clock::now() - start).count());
        if (!isWritten) {
            state.SkipWithError("the file could not be written");
        }
    }
    report(state);
}

} // namespace

std::vector<Comparison> registerDocuments() {
    const auto add = [](const char* name, void (*run)(benchmark::State&)) {
        benchmark::RegisterBenchmark(name, run)->UseManualTime()->Iterations(1);
    };
    add("W3_read", readWithKiln);
    add("W3_read_pack", readFromPlainPack);
    add("W3_read_zstd_pack", readFromCompressedPack);
    add("W3_read_pugixml", readWithPugixml);
    add("W3_write", writeWithKiln);
    add("W3_write_pugixml", writeWithPugixml);
    return {{"W3 reading / pugixml load_file", "W3_read", "W3_read_pugixml", 3.0, 2.0},
            {"W3 reading a pack / pugixml load_file", "W3_read_pack", "W3_read_pugixml", 0.5, 0.35},
            {"W3 reading a zstd pack / pugixml load_file", "W3_read_zstd_pack", "W3_read_pugixml", {}, {}},
            {"W3 serialize / pugixml save_file", "W3_write", "W3_write_pugixml", 2.5, 1.5}};
}

} // namespace Kiln::Benchmarks
