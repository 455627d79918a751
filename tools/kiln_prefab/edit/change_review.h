#pragma once

#include <prefab_inspection/findings/finding.h>

#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// What check finds after a change of a prefab and did not find before.
struct ChangeReview {
    /// Errors of the prefab, of those nested in it, and of its users, and warnings that the change itself brings.
    std::vector<PrefabInspection::Finding> findings;

    [[nodiscard]] bool hasErrors() const;
};

/// Checks a prefab as it is on disk and with a new text. `users` are resource paths of prefabs that may nest it.
[[nodiscard]] ChangeReview reviewChange(const std::string& path, const std::string& newText,
                                        const std::vector<std::string>& users);

} // namespace Kiln::PrefabTool
