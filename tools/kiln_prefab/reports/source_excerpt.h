#pragma once

#include <prefab_inspection/findings/finding.h>

#include <optional>
#include <string>

namespace Kiln::PrefabTool {

/// The line of a finding and a line to be written below it that marks the range: "^~~~". Both are printable, except
/// that they keep tabs, so that they align with any width of tabs.
struct SourceExcerpt {
    std::string line;
    std::string marker;
};

/// None if the finding has no line. A long line is shortened around the beginning of the range.
[[nodiscard]] std::optional<SourceExcerpt> sourceExcerpt(const PrefabInspection::Finding& finding);

} // namespace Kiln::PrefabTool
