#pragma once

#include "workload_files.h"

namespace Kiln::Benchmarks {

/// Creates an instance of a workload with the library and with the floor in both its forms. Throws std::runtime_error
/// if they differ in any object's UUID, name, parent, activity, transform or cargo.
void expectSameHierarchy(const Workload& workload);

} // namespace Kiln::Benchmarks
