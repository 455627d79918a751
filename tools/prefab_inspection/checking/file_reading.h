#pragma once

#include <prefab_inspection/checking/checker.h>
#include <prefab_inspection/checking/file_check.h>
#include <prefab_inspection/checking/prefab_instances.h>
#include <resource/resource_text.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabInspection {

/// The bytes of a file, or the buffer that replaces it.
[[nodiscard]] FS::Utils::ResourceText readContent(const std::string& path,
                                                  const std::map<std::string, std::string_view>& buffers);

/// What the first step of a check yields.
struct ReadFiles {
    FileTable table;
    std::vector<PendingFinding> findings; ///< About each file by itself.
};

/// Reads and checks the targets and all prefabs that they name, at any depth, on several threads, each file once.
[[nodiscard]] ReadFiles readFiles(const std::vector<std::string>& targets, const CheckOptions& options);

} // namespace Kiln::PrefabInspection
