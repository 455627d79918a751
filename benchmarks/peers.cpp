// Compares with another engine, whose scenes have the same shape: creates W1 to W4 and reads W3 with both, alternately
// and in separate processes, and prints medians, quartiles and ratios. The exit status is 1 if a ratio is too small, 2
// if the engine cannot be run.

#include "godot_scenes.h"
#include "kiln_runs.h"
#include "samples.h"

#include <core/log.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string_view>

using namespace Kiln;
using namespace Kiln::Benchmarks;

namespace {

constexpr int TURNS = 11;
constexpr const char* MEASURE = "--measure"; ///< Makes this program measure only this library.
constexpr int WORKLOADS[] = {1, 2, 3, 4};

/// Reads and creations in each turn: a single one would mostly show the state of caches and memory. As in measure.gd.
[[nodiscard]] int repetitions(int number) {
    return number <= 2 ? 20 : 3;
}

/// Nanoseconds per object of each repetition, by workload and step ("W1 create").
using Figures = std::map<std::string, std::vector<double>>;

void print(const Workload& workload, const char* step, Seconds duration) {
    std::printf("KILN %s %s %.3f\n", workload.name.c_str(), step, duration.count() * 1e6);
}

/// Measures this library and prints, as measure.gd does, "KILN <workload> <step> <microseconds>" for each figure.
void measureKiln() {
    for (const int number : WORKLOADS) {
        const Workload& workload = Benchmarks::workload(number);
        for (int i = 0; i < repetitions(number); ++i) {
            print(workload, "read", KilnWorld().read(workload.path));
        }
        cache(workload.path); // Destroying a world also removes the prefabs that were loaded for it.
        // Runs for about as long as the other engine, because the other load of the machine varies over time.
        for (int i = 0; i < 8 * repetitions(number); ++i) {
            waitForWorkers();
            print(workload, "create", KilnWorld().create(workload.path, workload.instances));
        }
    }
}

/// Runs a program that prints figures and adds them to `figures`.
void measure(const std::string& command, Figures& figures) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(popen(command.c_str(), "r"), &pclose);
    if (!output) {
        throw std::runtime_error("cannot start: " + command);
    }
    std::set<std::string> missing;
    for (const int number : WORKLOADS) {
        for (const char* const step : {" read", " create"}) {
            missing.insert(workload(number).name + step);
        }
    }
    std::string all;
    char buffer[4096];
    while (std::fgets(buffer, sizeof buffer, output.get())) {
        all += buffer;
        std::istringstream line(buffer);
        std::string mark;
        std::string name;
        std::string step;
        double microseconds = 0;
        if (line >> mark >> name >> step >> microseconds && mark == "KILN") {
            figures[name + " " + step].push_back(microseconds * 1000 /
                                                 static_cast<double>(workload(name.back() - '0').objectsCount()));
            missing.erase(name + " " + step);
        }
    }
    if (!missing.empty()) {
        throw std::runtime_error("not every workload has been measured:\n" + all);
    }
}

/// Prints a row; returns false if the ratio of the medians is too small.
[[nodiscard]] bool report(const std::string& what, std::vector<double>& kiln, std::vector<double>& godot) {
    constexpr double LEAST = 8;
    for (std::vector<double>* const samples : {&kiln, &godot}) {
        std::sort(samples->begin(), samples->end());
    }
    const double ratio = quantile(godot, 0.5) / quantile(kiln, 0.5);
    const bool isEnough = ratio >= LEAST;
    std::printf("%-20s %28s %28s %7.2f  at least %.0f%s\n", what.c_str(), medianAndQuartiles(kiln).c_str(),
                medianAndQuartiles(godot).c_str(), ratio, LEAST, isEnough ? "" : "  MISSED");
    return isEnough;
}

int compare(const std::string& self, const std::filesystem::path& scripts) {
    const std::filesystem::path directory = filePath("godot");
    std::filesystem::copy(scripts, directory);
    for (const int number : WORKLOADS) {
        writeGodotScenes(workload(number), directory);
    }
    Figures kiln;
    Figures godot;
    for (int i = 0; i < TURNS; ++i) {
        measure("'" + self + "' " + MEASURE, kiln);
        measure("godot3-server --path '" + directory.string() + "' -s measure.gd 2>&1", godot);
    }
    std::printf("%-20s %28s %28s %7s\n", "", "Kiln (quartiles)", "godot3-server (quartiles)", "times");
    bool isEnough = true;
    for (const char* const what : {"W1 create", "W2 create", "W3 create", "W4 create", "W3 read"}) {
        isEnough = report(what, kiln.at(what), godot.at(what)) && isEnough;
    }
    std::printf("ns per object, of all repetitions in %d turns\n", TURNS);
    return isEnough ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const ScopedLogSink silence([](const LogMessage&) {});
    const std::string_view argument = argc == 2 ? argv[1] : "";
    if (argument.empty()) {
        std::fputs("usage: kiln-peers <folder with the engine's scripts> | --measure\n", stderr);
        return 2;
    }
    try {
        if (argument != MEASURE) {
            return compare(argv[0], argument);
        }
        measureKiln();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kiln-peers: %s\n", error.what());
        return 2;
    }
}
