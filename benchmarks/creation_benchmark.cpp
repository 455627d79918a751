#include "benchmarks.h"

#include "floor.h"
#include "kiln_runs.h"
#include "workload_files.h"

namespace Kiln::Benchmarks {

namespace {

using CreateFloor = Tessel::GameObject (FloorWorld::*)(const Workload&, const Uuid&);

void report(benchmark::State& state, const Workload& workload) {
    state.counters["units"] = static_cast<double>(workload.objectsCount());
}

void createWithKiln(benchmark::State& state, int number) {
    const Workload& workload = Benchmarks::workload(number);
    cache(workload.path);
    for (auto iteration : state) {
        KilnWorld world;
        state.SetIterationTime(world.create(workload.path, workload.instances).count());
        waitForWorkers(); // Destroying a large map must not slow down the next measurement.
    }
    report(state, workload);
}

void createWithFloor(benchmark::State& state, int number, CreateFloor create) {
    const Workload& workload = Benchmarks::workload(number);
    const std::vector<Uuid> instances = [&workload] {
        std::vector<Uuid> uuids(workload.instances);
        for (Uuid& uuid : uuids) {
            uuid = Uuid::generate();
        }
        return uuids;
    }();
    for (auto iteration : state) {
        FloorWorld world;
        const Clock::time_point start = Clock::now();
        for (const Uuid& uuid : instances) {
            benchmark::DoNotOptimize((world.*create)(workload, uuid));
        }
        state.SetIterationTime(Seconds(Clock::now() - start).count());
    }
    report(state, workload);
}

void removeWithKiln(benchmark::State& state, int number) {
    const Workload& workload = Benchmarks::workload(number);
    cache(workload.path);
    for (auto iteration : state) {
        KilnWorld world;
        world.create(workload.path, workload.instances);
        waitForWorkers();
        state.SetIterationTime(world.removeAll().count());
    }
    report(state, workload);
}

void add(const std::string& name, int iterations, const std::function<void(benchmark::State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime()->Iterations(iterations);
}

} // namespace

std::vector<Comparison> registerCreation() {
    constexpr struct {
        int number;
        int iterations; ///< In each repetition, so that it takes at least some tens of milliseconds.
        double most;
        double aim;
    } ROWS[] = {{1, 200, 1.3, 0.9}, {2, 200, 1.4, 1.0}, {3, 1, 0.8, 0.5}, {4, 3, 1.3, 1.0}, {5, 1, 0, 0}};

    std::vector<Comparison> comparisons;
    for (const auto& row : ROWS) {
        const int number = row.number;
        const std::string name = "W" + std::to_string(number);
        add(name + "_create", row.iterations, [number](auto& state) { createWithKiln(state, number); });
        add(name + "_floor", row.iterations,
            [number](auto& state) { createWithFloor(state, number, &FloorWorld::createPlain); });
        add(name + "_best_floor", row.iterations,
            [number](auto& state) { createWithFloor(state, number, &FloorWorld::createBest); });
        comparisons.push_back({name + " creation / plain floor", name + "_create", name + "_floor", row.most, row.aim});
        comparisons.push_back({name + " creation / best floor", name + "_create", name + "_best_floor"});
    }
    comparisons.push_back({"W5 creation / W3 creation", "W5_create", "W3_create", 1.3, 1.1});

    add("W3_remove", 1, [](auto& state) { removeWithKiln(state, 3); });
    comparisons.push_back({"W3 removal / W3 creation", "W3_remove", "W3_create", 0.5, 0.3});
    return comparisons;
}

} // namespace Kiln::Benchmarks
