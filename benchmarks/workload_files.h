#pragma once

#include "workload.h"

#include <string>

namespace Kiln::Benchmarks {

/// A prefab file, its nodes for the floor, and the number of instances.
struct Workload {
    std::string name;
    std::string path; ///< Below the resource root.
    Nodes nodes;
    Nodes nested; ///< Of the prefab that `nodes` nest; empty for none.
    std::size_t instances = 1;

    /// Objects that one run creates.
    [[nodiscard]] std::size_t objectsCount() const;
};

/// The workloads by number, 1 to 5: a prefab of 1 000 objects; a root with 100 nested prefabs of 10; 100 000 objects;
/// 10 000 instances of a prefab of 10; 1 000 000 objects. Created, and written below the resource root, on first use.
[[nodiscard]] const Workload& workload(int number);

/// The path of a file below the resource root, which is removed at exit.
[[nodiscard]] std::string filePath(const std::string& path);

} // namespace Kiln::Benchmarks
