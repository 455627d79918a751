#pragma once

#include "table_reporter.h"

#include <vector>

namespace Kiln::Benchmarks {

/// Each registers the benchmarks of one subject and returns their lines of the table.
[[nodiscard]] std::vector<Comparison> registerCreation();
[[nodiscard]] std::vector<Comparison> registerDocuments();

} // namespace Kiln::Benchmarks
