// Checks the limits of the commands of kiln-prefab that compare, merge and rewrite files: their times compared with
// that of a parser that does nothing else. Prints a line for each; the exit status is 1 if a limit is exceeded. An
// argument selects the rows whose names contain it.

#include "rows.h"

#include "kiln_runs.h"
#include "workload_files.h"

#include <core/log.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <thread>

#include <pugixml.hpp>
#include <time.h>

namespace Kiln::Benchmarks {

namespace {

constexpr int ROUNDS = 7;
constexpr int LARGE_WORKLOAD = 3;

std::string_view g_filter;
bool g_isAnyExceeded = false;

/// In milliseconds.
struct Times {
    double wall = std::numeric_limits<double>::max();
    double processor = std::numeric_limits<double>::max();
};

[[nodiscard]] double processorMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// Runs the work and keeps the shorter times. In a new thread, because memory that the allocator has kept from earlier
/// work would be an advantage.
void measure(const std::function<void()>& work, Times& times) {
    std::exception_ptr error;
    std::thread([&work, &times, &error] {
        const double processorStart = processorMilliseconds();
        const Clock::time_point start = Clock::now();
        try {
            work();
        } catch (...) {
            error = std::current_exception();
        }
        times.wall = std::min(times.wall, Seconds(Clock::now() - start).count() * 1e3);
        times.processor = std::min(times.processor, processorMilliseconds() - processorStart);
    }).join();
    if (error) {
        std::rethrow_exception(error);
    }
}

void report(const std::string& name, double value, double reference, double limit) {
    const double ratio = value / reference;
    const bool isExceeded = ratio > limit;
    std::printf("%-58s %10.2f %10.2f ms   %6.2f  at most %.2f%s\n", name.c_str(), value, reference, ratio, limit,
                isExceeded ? "  EXCEEDED" : "");
    std::fflush(stdout);
    g_isAnyExceeded = g_isAnyExceeded || isExceeded;
}

void loadWithPugixml() {
    pugi::xml_document document;
    if (!document.load_file(largeFile().c_str())) {
        throw std::runtime_error("pugixml cannot read the file");
    }
}

} // namespace

std::string largeFile() {
    return filePath(workload(LARGE_WORKLOAD).path);
}

void compareWithPugixml(const std::string& name, RatioLimits limits, const std::function<void()>& work) {
    if (name.find(g_filter) == std::string::npos) {
        return;
    }
    static_cast<void>(largeFile()); // Written on first use.
    Times times;
    Times reference;
    for (int round = 0; round < ROUNDS; ++round) {
        measure(loadWithPugixml, reference);
        measure(work, times);
    }
    report(name + " / pugixml", times.wall, reference.wall, limits.wall);
    report("the same in processor time", times.processor, reference.processor, limits.processor);
}

void compareWithPugixml(const std::string& name, double limit, const std::function<void()>& work) {
    compareWithPugixml(name, RatioLimits{limit, limit}, work);
}

} // namespace Kiln::Benchmarks

int main(int argumentsCount, char** arguments) {
    using namespace Kiln::Benchmarks;
    try {
        g_filter = argumentsCount > 1 ? arguments[1] : "";
        measureDiff();
        measureRewrite();
        measureMerge();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kiln-tool: %s\n", error.what());
        return 2;
    }
    return g_isAnyExceeded ? 1 : 0;
}
