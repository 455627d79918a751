#pragma once

#include "merge.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabMerging {

/// Finds problems as `kiln-prefab check` does: errors, and parents, links and overrides that lead nowhere.
/// `resourcePath` is the path of the merged file, beneath whose roots nested prefabs are looked up. Conflicts that a
/// text holds are none.
[[nodiscard]] std::function<std::vector<Problem>(std::string_view text)>
checkingProblems(const std::string& resourcePath);

} // namespace Kiln::PrefabMerging
