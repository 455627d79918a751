// Runs scenarios and compares their results with the baselines `hierarchy.txt` and `log.txt`.
//
//     run_scenarios [--accept] [--packed] <folder>...
//
// With --accept the baselines are written instead. With --packed the prefabs are read from a pack of the folder; the
// results must be the same. The exit status is 1 if one differs or is missing, 2 if a scenario
// can't be run.

#include "scenario.h"

#include <tessel_asset_loading/prefab_component.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace {

using namespace Kiln::ScenarioRunner;

/// Reports the first line that differs. A baseline that is missing differs, too.
[[nodiscard]] bool matches(const std::filesystem::path& baseline, const std::string& actual) {
    std::ifstream file(baseline, std::ios::binary);
    std::ostringstream expected;
    expected << file.rdbuf();
    if (file && expected.str() == actual) {
        return true;
    }
    std::istringstream expectedLines(expected.str());
    std::istringstream actualLines(actual);
    for (int number = 1;; ++number) {
        std::string expectedLine;
        std::string actualLine;
        const bool isExpected = static_cast<bool>(std::getline(expectedLines, expectedLine));
        const bool isActual = static_cast<bool>(std::getline(actualLines, actualLine));
        if (isExpected != isActual || expectedLine != actualLine || !isExpected) {
            std::printf("%s, line %d\n  expected: %s\n  actual:   %s\n", baseline.c_str(), number,
                        isExpected ? expectedLine.c_str() : "<end>", isActual ? actualLine.c_str() : "<end>");
            return false;
        }
    }
}

void accept(const std::filesystem::path& baseline, const std::string& actual) {
    if (!(std::ofstream(baseline, std::ios::binary) << actual)) {
        throw std::runtime_error("cannot write " + baseline.string());
    }
}

[[nodiscard]] bool check(const std::filesystem::path& folder, bool isAccepting, ResourceSource source) {
    const Outcome outcome = run(folder, source);
    if (isAccepting) {
        accept(folder / "hierarchy.txt", outcome.hierarchy);
        accept(folder / "log.txt", outcome.log);
        return true;
    }
    const bool isHierarchyRight = matches(folder / "hierarchy.txt", outcome.hierarchy);
    return matches(folder / "log.txt", outcome.log) && isHierarchyRight;
}

} // namespace

int main(int argumentsCount, char** arguments) {
    prefab_component();
    bool isAccepting = false;
    ResourceSource source = ResourceSource::FOLDER;
    int passed = 0;
    int failed = 0;
    for (int i = 1; i < argumentsCount; ++i) {
        if (std::string_view(arguments[i]) == "--accept") {
            isAccepting = true;
            continue;
        }
        if (std::string_view(arguments[i]) == "--packed") {
            source = ResourceSource::PACK;
            continue;
        }
        try {
            ++(check(arguments[i], isAccepting, source) ? passed : failed);
        } catch (const std::exception& error) {
            std::printf("%s: %s\n", arguments[i], error.what());
            return 2;
        }
    }
    std::printf("%d %s, %d failed\n", passed, isAccepting ? "accepted" : "passed", failed);
    return failed == 0 ? 0 : 1;
}
