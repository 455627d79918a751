// Runs one of the two steps whose instructions ./dev instructions counts: creating W1's objects, in
// PrefabService::tick(), and reading its file, in PrefabService::loadPrefabData(). Every run does exactly the same.

#include "kiln_runs.h"
#include "workload_files.h"

#include <core/log.h>

#include <cstdio>
#include <string_view>

using namespace Kiln;
using namespace Kiln::Benchmarks;

int main(int argc, char** argv) {
    const std::string_view step = argc == 2 ? argv[1] : "";
    const ScopedLogSink silence([](const LogMessage&) {});
    const Workload& workload = Benchmarks::workload(1);
    if (step == "create") {
        cache(workload.path);
        waitForWorkers();
        KilnWorld().create(workload.path, Uuid(1, 2));
    } else if (step == "read") {
        prefabService().loadPrefabData(workload.path);
    } else {
        std::fprintf(stderr, "usage: kiln-instructions create|read\n");
        return 2;
    }
    return 0;
}
