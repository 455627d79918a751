// Checks the limits of the checker of prefabs: its time compared with that of a parser that does nothing else, its time
// for ten times as many files, its memory, and the time for nesting that fans out; and the time of a report compared
// with that of the check it begins with. Prints a line for each; the exit status is 1 if a limit is exceeded. An
// argument selects the limits whose names contain it.

#include "check_files.h"
#include "kiln_runs.h"
#include "workload_files.h"

#include <core/log.h>
#include <kiln_prefab/report/report_data.h>
#include <prefab_inspection/checking/checker.h>
#include <resource/file_system_utils.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <pugixml.hpp>
#include <time.h>

using namespace Kiln;
using namespace Kiln::Benchmarks;

namespace {

constexpr int ROUNDS = 15;
constexpr const char* MEMORY_ARGUMENT = "--memory-of";

bool isAnyExceeded = false;
std::string_view filter;

[[nodiscard]] bool isWanted(std::string_view name) {
    return name.find(filter) != std::string_view::npos;
}

void report(const char* what, double value, double reference, const char* unit, double limit) {
    const double ratio = value / reference;
    const bool isExceeded = ratio > limit;
    std::printf("%-58s %10.2f %10.2f %-4s %6.2f  at most %.2f%s\n", what, value, reference, unit, ratio, limit,
                isExceeded ? "  EXCEEDED" : "");
    std::fflush(stdout);
    isAnyExceeded = isAnyExceeded || isExceeded;
}

[[nodiscard]] std::size_t threadsCount() {
    return std::max<std::size_t>(1, std::thread::hardware_concurrency());
}

/// Processor time of this process: other processes delay long work more often than short work.
[[nodiscard]] double processorMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

template <class Work>
[[nodiscard]] double processorMillisecondsOf(const Work& work) {
    const double start = processorMilliseconds();
    work();
    return processorMilliseconds() - start;
}

template <class Work>
[[nodiscard]] double millisecondsOf(const Work& work) {
    const Clock::time_point start = Clock::now();
    work();
    return Seconds(Clock::now() - start).count() * 1e3;
}

/// Number of findings by code, for a message.
[[nodiscard]] std::string findingsText(const PrefabInspection::CheckResult& result) {
    std::map<int, std::size_t> counts;
    for (const PrefabInspection::Finding& finding : result.findings) {
        ++counts[static_cast<int>(finding.code)];
    }
    std::string text;
    for (const auto& [code, count] : counts) {
        text += " KP0" + std::to_string(code) + ": " + std::to_string(count);
    }
    return text;
}

void check(const std::vector<std::string>& paths, bool isSound = true) {
    PrefabInspection::CheckOptions options;
    options.threads = threadsCount();
    const PrefabInspection::CheckResult result = PrefabInspection::checkPrefabs(paths, options);
    if (result.files.size() != paths.size() || result.findings.empty() != isSound) {
        throw std::runtime_error("the check has read " + std::to_string(result.files.size()) + " of " +
                                 std::to_string(paths.size()) + " files and found" + findingsText(result));
    }
}

/// Parses each file once, on as many threads as a check uses.
void parse(const std::vector<std::string>& paths) {
    std::atomic<std::size_t> next = 0;
    std::atomic<bool> isFailed = false;
    const auto work = [&] {
        for (std::size_t index = next++; index < paths.size(); index = next++) {
            pugi::xml_document document;
            if (!document.load_file(filePath(paths[index]).c_str())) {
                isFailed = true;
            }
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < threadsCount(); ++i) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (isFailed) {
        throw std::runtime_error("pugixml cannot read a file");
    }
}

void measureParsing() {
    const std::vector<std::string> paths = writeFolder("folder", 1000, 54);
    double checked = std::numeric_limits<double>::max();
    double parsed = checked;
    double checkedTime = checked;
    double parsedTime = checked;
    for (int round = 0; round < ROUNDS; ++round) {
        checked = std::min(checked, millisecondsOf([&paths] { check(paths); }));
        parsed = std::min(parsed, millisecondsOf([&paths] { parse(paths); }));
        checkedTime = std::min(checkedTime, processorMillisecondsOf([&paths] { check(paths); }));
        parsedTime = std::min(parsedTime, processorMillisecondsOf([&paths] { parse(paths); }));
    }
    report("check of 1000 nested prefabs, 40 MB / pugixml", checked, parsed, "ms", 2.0);
    report("the same in processor time", checkedTime, parsedTime, "ms", 2.0);
}

/// Checks the prefabs and makes the data of the page that shows them.
void makeReport(const std::vector<std::string>& paths) {
    PrefabInspection::CheckOptions options;
    auto files = std::make_unique<PrefabInspection::PrefabFiles>();
    options.threads = threadsCount();
    options.files = files.get();
    const PrefabInspection::CheckResult result = PrefabInspection::checkPrefabs(paths, options);
    const std::string data = PrefabTool::reportData(result, {"folder", "benchmark", threadsCount()}, std::move(files));
    if (result.files.size() != paths.size() || data.size() < paths.size() * 1000) {
        throw std::runtime_error("the report has " + std::to_string(data.size()) + " bytes");
    }
}

void measureReport() {
    const std::vector<std::string> paths = writeFolder("folder", 1000, 54);
    double checked = std::numeric_limits<double>::max();
    double reported = checked;
    for (int round = 0; round < ROUNDS; ++round) {
        checked = std::min(checked, millisecondsOf([&paths] { check(paths); }));
        reported = std::min(reported, millisecondsOf([&paths] { makeReport(paths); }));
    }
    report("report of 1000 nested prefabs / check", reported, checked, "ms", 3.0);
}

void measureManyFiles() {
    const std::vector<std::string> few = writeFolder("few", 10'000, 2);
    const std::vector<std::string> many = writeFolder("many", 100'000, 2);
    double checkedFew = std::numeric_limits<double>::max();
    double checkedMany = checkedFew;
    for (int round = 0; round < 5; ++round) {
        for (int i = 0; i < 3; ++i) {
            checkedFew = std::min(checkedFew, processorMillisecondsOf([&few] { check(few); }));
        }
        checkedMany = std::min(checkedMany, processorMillisecondsOf([&many] { check(many); }));
    }
    report("check of 100000 small files / of 10000", checkedMany, checkedFew, "ms", 11.5);
}

/// Seven files, each of which nests the next one eight times, compared with the same files without nesting.
void measureFanOut(const char* what, const std::string& folder, bool hasOverrides) {
    const std::vector<std::string> nested = writeFanOut(folder, true, hasOverrides);
    const std::vector<std::string> flat = writeFanOut(folder + "-flat", false, false);
    double checkedNested = std::numeric_limits<double>::max();
    double checkedFlat = checkedNested;
    for (int round = 0; round < ROUNDS; ++round) {
        // The chain is deeper than prefabs may nest, and its instances have more objects than permitted.
        checkedNested = std::min(checkedNested, processorMillisecondsOf([&nested] { check(nested, false); }));
        checkedFlat = std::min(checkedFlat, processorMillisecondsOf([&flat] { check(flat); }));
    }
    report(what, checkedNested, checkedFlat, "ms", 1.25);
}

/// A value of /proc/self/status in kB.
[[nodiscard]] double statusValue(std::string_view name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name)) {
            return std::strtod(line.c_str() + name.size() + 1, nullptr);
        }
    }
    throw std::runtime_error("/proc/self/status does not have " + std::string(name));
}

[[nodiscard]] std::vector<std::string> pathsBelow(const std::filesystem::path& root, const std::string& folder) {
    std::vector<std::string> paths;
    for (const std::filesystem::directory_entry& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
        if (entry.is_regular_file()) {
            paths.push_back(entry.path().lexically_relative(root).string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

/// In a process of its own: prints by how many kB a check of a folder lets the resident set grow at its peak. A check
/// of one file comes first, so that code and stacks of the threads are not counted.
int printMemory(const std::string& root, const std::string& folder) {
    FS::Utils::addResourceRoot(root);
    const std::vector<std::string> paths = pathsBelow(root, folder);
    check(pathsBelow(root, "warm"));
    std::ofstream("/proc/self/clear_refs") << "5"; // Sets the peak to the present size.
    const double before = statusValue("VmRSS");
    check(paths);
    std::printf("%.0f\n", statusValue("VmHWM") - before);
    return 0;
}

void measureMemory(const char* what, const std::string& folder, std::size_t files, std::size_t objects) {
    writeFolder("warm", 1, 2);
    std::uintmax_t largest = 0;
    for (const std::string& path : writeFolder(folder, files, objects)) {
        largest = std::max(largest, std::filesystem::file_size(filePath(path)));
    }
    const std::string root = std::filesystem::path(filePath("warm")).parent_path().string();
    const std::string command = "'" + std::filesystem::read_symlink("/proc/self/exe").string() + "' " +
                                MEMORY_ARGUMENT + " '" + root + "' " + folder;
    std::FILE* const pipe = popen(command.c_str(), "r");
    std::array<char, 64> text{};
    const bool isRead = pipe && std::fgets(text.data(), static_cast<int>(text.size()), pipe);
    if (!pipe || pclose(pipe) != 0 || !isRead) {
        throw std::runtime_error(command + " failed");
    }
    const double limit = 1.5 * static_cast<double>(largest) / 1000 + 2.0 * static_cast<double>(files);
    report(what, std::strtod(text.data(), nullptr) * 1.024, limit, "kB", 1.0);
}

void measureAll() {
    if (isWanted("pugixml")) {
        measureParsing();
    }
    if (isWanted("report")) {
        measureReport();
    }
    if (isWanted("small files")) {
        measureManyFiles();
    }
    if (isWanted("fan-out")) {
        measureFanOut("fan-out of 8 over 6 levels / the files without nesting", "fan-out", false);
        measureFanOut("the same with overrides", "fan-out-overrides", true);
    }
    if (isWanted("memory")) {
        measureMemory("memory for 1000 prefabs / 1.5 files + 2 kB per file", "folder", 1000, 54);
        measureMemory("memory for 100000 small files / the same", "many", 100'000, 2);
        measureMemory("memory for one file of 40 MB / the same", "large", 1, 54'000);
    }
}

} // namespace

int main(int argumentsCount, char** arguments) {
    const ScopedLogSink silence([](const LogMessage&) {});
    try {
        if (argumentsCount == 4 && arguments[1] == std::string_view(MEMORY_ARGUMENT)) {
            return printMemory(arguments[2], arguments[3]);
        }
        filter = argumentsCount > 1 ? arguments[1] : "";
        measureAll();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kiln-check: %s\n", error.what());
        return 2;
    }
    return isAnyExceeded ? 1 : 0;
}
