// Checks that the cost of hostile prefabs does not grow faster than the prefabs. Each case is a prefab, with those that
// it nests, for which careless code does work in the square of its size. The program reads it and creates an instance,
// for a size and for ten times that size, and prints the ratio of the times. The exit status is 1 if a ratio
// exceeds 12. An argument selects the cases whose names contain it.

#include "growth_files.h"
#include "kiln_runs.h"
#include "workload_files.h"

#include <core/log.h>
#include <object_framework/entry_point.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/loading.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>

#include <malloc.h>
#include <time.h>

using namespace Kiln;
using namespace Kiln::Benchmarks;
using Tessel::EntryPoint;
using Tessel::GameObjectPrefab;

namespace {

constexpr std::size_t FACTOR = 10;
constexpr double MOST = 12;
constexpr int ROUNDS = 50;

bool isAnyExceeded = false;

void report(const std::string& what, const char* unit, double small, double large) {
    const double ratio = large / small;
    const bool isExceeded = ratio > MOST;
    std::printf("%-44s %10.2f %10.2f %-5s %6.1f  at most %.0f%s\n", what.c_str(), small, large, unit, ratio, MOST,
                isExceeded ? "  EXCEEDED" : "");
    isAnyExceeded = isAnyExceeded || isExceeded;
}

/// Processor time of this process, because a long run is interrupted more often than a short one.
[[nodiscard]] double processorMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// Reads a prefab and everything nested in it, creates one instance, and removes it. Whether the creation succeeds does
/// not matter.
[[nodiscard]] double millisecondsOf(const std::string& path) {
    Tessel::Loading::fullyClearCache();
    const double start = processorMilliseconds();
    const int worldId = EntryPoint::instance().createWorld();
    if (const GameObjectPrefab* const prefab = prefabService().loadPrefabData(path)) {
        GameObjectPrefab::CreateConfig config{worldId, Uuid(1, 2), nullptr, {}};
        (void)prefab->createGameObjects(config);
    }
    EntryPoint::instance().destroyWorld(worldId);
    EntryPoint::instance().tick(); // Frees the world.
    return processorMilliseconds() - start;
}

void measure(const GrowthCase& growthCase) {
    const std::string name = growthCase.name;
    growthCase.write(name + "-1", 1);
    growthCase.write(name + "-10", FACTOR);
    const std::string small = name + "-1/top.prefab";
    const std::string large = name + "-10/top.prefab";
    double bestSmall = std::numeric_limits<double>::max();
    double bestLarge = bestSmall;
    for (int round = 0; round < ROUNDS; ++round) {
        for (std::size_t i = 0; i < FACTOR; ++i) { // About as long as the large one.
            bestSmall = std::min(bestSmall, millisecondsOf(small));
        }
        bestLarge = std::min(bestLarge, millisecondsOf(large));
    }
    report(growthCase.name, "ms", bestSmall, bestLarge);
}

/// Number of bytes that kiln-prefab, which is in the same folder as this program, prints for a prefab.
[[nodiscard]] double outputBytes(const std::string& path) {
    const std::filesystem::path tool = std::filesystem::read_symlink("/proc/self/exe").replace_filename("kiln-prefab");
    const std::string command = "'" + tool.string() + "' spawn --root '" +
                                std::filesystem::path(filePath(path)).parent_path().string() + "' top.prefab";
    std::FILE* const pipe = popen(command.c_str(), "r");
    std::array<char, 65536> buffer;
    std::size_t total = 0;
    while (const std::size_t count = pipe ? std::fread(buffer.data(), 1, buffer.size(), pipe) : 0) {
        total += count;
    }
    if (!pipe || pclose(pipe) != 0) {
        std::fprintf(stderr, "%s failed\n", command.c_str());
        isAnyExceeded = true;
    }
    return static_cast<double>(total);
}

void measureOutput() {
    writeChain("output-1", 1);
    writeChain("output-10", FACTOR);
    report("text output of a chain", "kB", outputBytes("output-1/top.prefab") / 1000,
           outputBytes("output-10/top.prefab") / 1000);
}

} // namespace

int main(int argumentsCount, char** arguments) {
    // Keep freed memory: otherwise the large prefabs alone would get new pages from the kernel in every round.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    const ScopedLogSink silence([](const LogMessage&) {});
    const std::string_view filter = argumentsCount > 1 ? arguments[1] : "";
    for (const GrowthCase& growthCase : growthCases()) {
        if (std::string_view(growthCase.name).find(filter) != std::string_view::npos) {
            measure(growthCase);
        }
    }
    if (filter.empty()) {
        measureOutput();
    }
    return isAnyExceeded ? 1 : 0;
}
