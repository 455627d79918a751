// Loads for minutes and watches the memory (--help lists the options). Also leaves `main` at random moments, in child
// processes. Exit status 1 when something is not as it has to be.

#include "load_soak.h"
#include "memory_curve.h"

#include <support/process_runner.h>
#include <support/temporary_directory.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace {

using namespace Kiln::Soak;
using Kiln::TestSupport::TemporaryDirectory;
using Clock = std::chrono::steady_clock;

struct Options {
    double seconds = 10;
    std::size_t loads = 0;     ///< At least this many.
    std::size_t exits = 0;     ///< Child processes that leave `main` at a random moment.
    std::size_t leakBytes = 0; ///< Leaked in each round, to show that growth is found.
    unsigned seed = 20;
    std::optional<std::size_t> leaveAfterMicroseconds; ///< This is a child.
};

[[nodiscard]] Options parse(int argumentsCount, char** arguments) {
    Options options;
    for (int i = 1; i + 1 < argumentsCount; i += 2) {
        const std::string_view name = arguments[i];
        const std::string value = arguments[i + 1];
        if (name == "--minutes") {
            options.seconds = std::stod(value) * 60;
        } else if (name == "--seconds") {
            options.seconds = std::stod(value);
        } else if (name == "--loads") {
            options.loads = std::stoul(value);
        } else if (name == "--exits") {
            options.exits = std::stoul(value);
        } else if (name == "--seed") {
            options.seed = static_cast<unsigned>(std::stoul(value));
        } else if (name == "--leak") {
            options.leakBytes = std::stoul(value);
        } else if (name == "--leave-after") {
            options.leaveAfterMicroseconds = std::stoul(value);
        } else {
            require(false, "unknown option " + std::string(name));
        }
    }
    require(argumentsCount % 2 == 1, "usage: soak [--minutes N] [--seconds N] [--loads N] [--exits N] [--seed N]");
    return options;
}

[[nodiscard]] double megabytes(std::size_t bytes) {
    return static_cast<double>(bytes) / (1024 * 1024);
}

void printTotals(const Totals& totals, double seconds) {
    std::printf("%zu loads, %zu objects, %zu rounds in %.0f s (%.0f loads per second)\n", totals.loads, totals.objects,
                totals.rounds, seconds, static_cast<double>(totals.loads) / seconds);
    std::printf("%zu faults: %zu missing files, %zu malformed files, %zu wrong versions, %zu exceptions of components, "
                "%zu worlds destroyed during a load\n",
                totals.faults(), totals.missingFiles, totals.malformedFiles, totals.wrongVersions, totals.exceptions,
                totals.abandoned);
    std::printf("%zu worlds, %zu times the cache was cleared, %zu log messages\n", totals.worlds, totals.cacheClears,
                totals.messages);
}

/// Prints the curve and returns whether it is flat.
[[nodiscard]] bool printMemory(const MemoryCurve& curve, Clock::duration period) {
    const double periodSeconds = std::chrono::duration<double>(period).count();
    int number = 0;
    for (const MemorySample& sample : curve.medians()) {
        ++number;
        std::printf("after %6.1f s: resident %7.2f MB, live %7.3f MB\n", number * periodSeconds,
                    megabytes(sample.resident), megabytes(sample.live));
    }
    std::printf("growth after the second period: resident %.3f MB, live %.3f MB\n",
                megabytes(curve.growth(&MemorySample::resident)), megabytes(curve.growth(&MemorySample::live)));
    // Short periods show the noise of the kernel's pages, and sanitizers keep freed memory.
    const bool isResidentJudged = !hasSanitizerAllocator() && period >= std::chrono::seconds(60);
    return curve.isFlat(&MemorySample::live) && (!isResidentJudged || curve.isFlat(&MemorySample::resident));
}

[[nodiscard]] bool runLoads(const Options& options, const TemporaryDirectory& directory) {
    static LoadSoak soak(options.seed, directory); // Static: loads that wait refer to it until the process ends.
    const auto duration = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options.seconds));
    const Clock::duration period = std::min<Clock::duration>(std::chrono::minutes(1), duration / 5);
    MemoryCurve curve(period);
    std::vector<std::string> leaks;
    const Clock::time_point start = Clock::now();
    Clock::time_point nextSample = start;
    while (Clock::now() - start < duration || soak.totals().loads < options.loads) {
        soak.runRound();
        if (options.leakBytes > 0) {
            leaks.emplace_back(options.leakBytes, 'x');
        }
        if (Clock::now() >= nextSample) {
            curve.add(sampleMemory());
            nextSample = Clock::now() + period / 60;
        }
    }
    curve.add(sampleMemory()); // Ends the last period.
    printTotals(soak.totals(), std::chrono::duration<double>(Clock::now() - start).count());
    return printMemory(curve, period);
}

/// Starts loads until a moment has come and then leaves `main`, whatever is in progress.
int leaveAfter(const Options& options, const TemporaryDirectory& directory) {
    const Clock::time_point start = Clock::now();
    static LoadSoak soak(options.seed, directory);
    do {
        soak.startLoads();
    } while (Clock::now() - start < std::chrono::microseconds(*options.leaveAfterMicroseconds));
    return 0;
}

[[nodiscard]] bool runChildren(const Options& options) {
    std::mt19937 random(options.seed);
    for (std::size_t i = 0; i < options.exits; ++i) {
        const std::string moment = std::to_string(random() % 50'000);
        const Kiln::TestSupport::ProcessResult result = Kiln::TestSupport::runProcess(
            "/proc/self/exe", {"--leave-after", moment, "--seed", std::to_string(random() % 1'000'000)});
        if (result.exitStatus != 0 || !result.errors.empty()) {
            std::printf("a process that left main after %s us ended with status %d: %s\n", moment.c_str(),
                        result.exitStatus, result.errors.c_str());
            return false;
        }
    }
    std::printf("%zu processes left main during loads, all cleanly\n", options.exits);
    return true;
}

/// Starts the program again with the allocator's thread caches off, which count as live memory and fill up slowly.
void disableThreadCaches(char** arguments) {
    constexpr const char* NAME = "GLIBC_TUNABLES";
    if (!hasSanitizerAllocator() && !std::getenv(NAME)) {
        setenv(NAME, "glibc.malloc.tcache_count=0", 1);
        execv("/proc/self/exe", arguments);
    }
}

[[nodiscard]] int run(int argumentsCount, char** arguments) {
    const Options options = parse(argumentsCount, arguments);
    const TemporaryDirectory directory; // Removed on return; a worker that still reads then misses its file.
    if (options.leaveAfterMicroseconds) {
        return leaveAfter(options, directory);
    }
    const bool isExitClean = runChildren(options);
    const bool isFlat = runLoads(options, directory);
    std::printf("%s\n", isFlat ? "memory is flat" : "FAILED: memory grows");
    return isExitClean && isFlat ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argumentsCount, char** arguments) {
    disableThreadCaches(arguments);
    try {
        return run(argumentsCount, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "FAILED: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
