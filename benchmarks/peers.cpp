// Compares with another engine, whose scenes have the same shape: creates W1 to W4 and reads W3 with both, in turns,
// and prints the medians and their ratios; exit status 1 when one is too small, 2 when the engine can't be run.

#include "godot_scenes.h"
#include "kiln_runs.h"

#include <core/log.h>
#include <tessel_asset_loading/loading.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>

using namespace Kiln;
using namespace Kiln::Benchmarks;

namespace {

constexpr int TURNS = 5;

/// Creations in each turn: a small workload that is created once shows how warm the caches are. As in measure.gd.
[[nodiscard]] int creations(int workload) {
    return workload <= 2 ? 20 : 1;
}

constexpr std::size_t FIGURES = 4 + 20 + 20 + 1 + 1; ///< Of the other engine in each turn: four readings, creations.

/// Nanoseconds per object of each repetition, by workload and step ("W1 create").
using Figures = std::map<std::string, std::vector<double>>;

void add(Figures& figures, const Workload& workload, const std::string& step, Seconds duration) {
    figures[workload.name + " " + step].push_back(duration.count() * 1e9 /
                                                  static_cast<double>(workload.objectsCount()));
}

[[nodiscard]] double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void measureKiln(Figures& figures) {
    for (const int number : {1, 2, 3, 4}) {
        const Workload& workload = Benchmarks::workload(number);
        cache(workload.path);
        for (int i = 0; i < creations(number); ++i) {
            waitForWorkers();
            add(figures, workload, "create", KilnWorld().create(workload.path, workload.instances));
        }
    }
    Tessel::Loading::fullyClearCache();
    const Workload& large = workload(3);
    add(figures, large, "read", KilnWorld().read(large.path));
    Tessel::Loading::fullyClearCache();
}

/// Runs the engine on a directory with its script and scenes.
void measureGodot(const std::filesystem::path& directory, Figures& figures) {
    const std::string command = "godot3-server --path '" + directory.string() + "' -s measure.gd 2>&1";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(popen(command.c_str(), "r"), &pclose);
    if (!output) {
        throw std::runtime_error("godot3-server can't be started");
    }
    std::size_t lines = 0;
    std::string all;
    char buffer[4096];
    while (std::fgets(buffer, sizeof buffer, output.get())) {
        all += buffer;
        std::istringstream line(buffer);
        std::string mark;
        std::string workloadName;
        std::string step;
        double microseconds = 0;
        if (line >> mark >> workloadName >> step >> microseconds && mark == "KILN") {
            add(figures, workload(workloadName.back() - '0'), step, Seconds(microseconds * 1e-6));
            ++lines;
        }
    }
    if (lines != FIGURES) {
        throw std::runtime_error("godot3-server has not measured every workload:\n" + all);
    }
}

/// Prints the row; false when the ratio is less than it must be.
[[nodiscard]] bool report(const std::string& what, const Figures& kiln, const Figures& godot) {
    constexpr double LEAST = 8;
    const double ours = median(kiln.at(what));
    const double theirs = median(godot.at(what));
    std::printf("%-12s %12.0f %16.0f %10.1f  at least %.0f%s\n", what.c_str(), ours, theirs, theirs / ours, LEAST,
                theirs / ours < LEAST ? "  MISSED" : "");
    return theirs / ours >= LEAST;
}

int compare(const std::filesystem::path& scripts) {
    const ScopedLogSink silence([](const LogMessage&) {});
    const std::filesystem::path directory = filePath("godot");
    std::filesystem::copy(scripts, directory);
    for (const int number : {1, 2, 3, 4}) {
        writeGodotScenes(workload(number), directory);
    }
    Figures kiln;
    Figures godot;
    for (int i = 0; i < TURNS; ++i) {
        measureKiln(kiln);
        measureGodot(directory, godot);
    }
    std::printf("ns per object       Kiln    godot3-server      times   (medians of %d turns)\n", TURNS);
    bool isEnough = true;
    for (const char* const what : {"W1 create", "W2 create", "W3 create", "W4 create", "W3 read"}) {
        isEnough = report(what, kiln, godot) && isEnough;
    }
    return isEnough ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: kiln-peers <folder with the engine's scripts>\n");
        return 2;
    }
    try {
        return compare(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kiln-peers: %s\n", error.what());
        return 2;
    }
}
