// Runs the benchmarks and prints one table. Takes Google Benchmark's options; --benchmark_filter selects by name. The
// exit status is 1 if a ratio exceeds its limit.

#include "benchmarks.h"
#include "same_hierarchy.h"

#include <core/log.h>
#include <resource/resource_limits.h>

#include <cstdint>
#include <string>
#include <vector>

using namespace Kiln;
using namespace Kiln::Benchmarks;

int main(int argumentsCount, char** arguments) {
    std::vector<std::string> texts{arguments[0], "--benchmark_repetitions=11",
                                   "--benchmark_enable_random_interleaving=true"};
    texts.insert(texts.end(), arguments + 1, arguments + argumentsCount);
    std::vector<char*> options;
    for (std::string& text : texts) {
        options.push_back(text.data());
    }
    auto optionsCount = static_cast<int>(options.size());
    benchmark::Initialize(&optionsCount, options.data());
    if (benchmark::ReportUnrecognizedArguments(optionsCount, options.data())) {
        return 2;
    }
    setResourceLimits({std::uint64_t{1} << 30, ResourceLimits().elementDepth}); // W5's file has 720 MB.
    const ScopedLogSink silence([](const LogMessage&) {}); // Caching reports its depth limit for every file.

    for (const int number : {1, 2, 4}) {
        expectSameHierarchy(workload(number));
    }

    std::vector<Comparison> comparisons = registerCreation();
    for (const Comparison& comparison : registerDocuments()) {
        comparisons.push_back(comparison);
    }
    TableReporter reporter(comparisons);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.isAnyAbove() ? 1 : 0;
}
