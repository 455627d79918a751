#pragma once

#include <prefab_inspection/checking/checker.h>
#include <prefab_inspection/composition/prefab_file.h>

#include <cstddef>
#include <memory>
#include <string>

namespace Kiln::PrefabTool {

struct PageOptions {
    std::string title;       ///< What the user has named.
    std::string toolVersion; ///< Of the program.
    std::size_t threads = 0; ///< That read and compose files; 0 for one per processor.
};

/// The data of the report page as a JSON document, which tools/report_page/src/format.ts describes. It contains all
/// files of the result with their objects and values. `files` has those that the check has parsed already
/// (CheckOptions::files) and reads the others.
///
/// The same files always give the same text. It is ASCII without '<', '>' and '&'. Only one thread of the process may
/// call this at a time.
[[nodiscard]] std::string reportData(const PrefabInspection::CheckResult& result, const PageOptions& options,
                                     std::unique_ptr<PrefabInspection::PrefabFiles> files);

} // namespace Kiln::PrefabTool
