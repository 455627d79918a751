// Performs random operations of the streaming library and checks that every request ends exactly once and that nothing
// is left: streaming_stress [--operations N] [--seed N]. Prints the counts; exit status 1 if something is wrong.

#include "streaming_stress.h"

#include <core/log.h>
#include <core/task_manager.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

namespace {

using namespace Kiln::StreamingStress;

struct Options {
    std::size_t operations = 100'000;
    unsigned seed = 1;
};

[[nodiscard]] Options parse(int argumentsCount, char** arguments) {
    Options options;
    require(argumentsCount % 2 == 1, "the usage is streaming_stress [--operations N] [--seed N]");
    for (int i = 1; i < argumentsCount; i += 2) {
        const std::string_view name = arguments[i];
        const std::string value = arguments[i + 1];
        if (name == "--operations") {
            options.operations = std::stoul(value);
        } else {
            require(name == "--seed", (std::string(name) + " is an option").c_str());
            options.seed = static_cast<unsigned>(std::stoul(value));
        }
    }
    return options;
}

void print(const Counts& counts) {
    std::printf("%zu operations in %zu rounds and %zu frames, %zu of them from inside of what the library calls\n",
                counts.operations, counts.rounds, counts.frames, counts.nestedOperations);
    std::printf("%zu loads, %zu spawns, %zu preloads: %zu succeeded (%zu partially), %zu failed, %zu were cancelled\n",
                counts.loads, counts.spawns, counts.preloads, counts.succeeded, counts.partial, counts.failed,
                counts.cancelled);
    std::printf("%zu cancels, %zu dropped handles, %zu changes of priority\n", counts.cancels, counts.drops,
                counts.priorities);
    std::printf("%zu worlds destroyed, %zu times the cache was cleared, %zu files changed\n", counts.worldsDestroyed,
                counts.cachesCleared, counts.filesChanged);
    std::printf("%zu exceptions of components, %zu of completion functions\n", counts.componentExceptions,
                counts.functionExceptions);
    std::printf("%zu updates, %zu refused updates, %zu trace events, %zu checks of requests\n", counts.updates,
                counts.refusedUpdates, counts.traceEvents, counts.checks);
}

int run(const Options& options) {
    setRunName("seed " + std::to_string(options.seed));
    const Kiln::ScopedLogSink silence([](const Kiln::LogMessage&) {});
    const Kiln::TestSupport::TemporaryDirectory directory;
    Counts counts;
    {
        StreamingStress stress(options.seed, directory);
        stress.run(options.operations);
        counts = stress.counts();
    }
    Kiln::FileIOTaskManager::instance().shutdown(); // Nothing may use the directory or the sink any more.
    require(counts.succeeded + counts.failed + counts.cancelled == counts.loads + counts.spawns + counts.preloads,
            "each request has ended once");
    print(counts);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argumentsCount, char** arguments) {
    try {
        return run(parse(argumentsCount, arguments));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "FAILED: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
