#pragma once

#include <prefab_inspection/composition/composition.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabTool {

class Terminal;

/// The objects that a text means: the UUID of the live object, the UUID in a file, or a path of names such as
/// "Harbour/Lamp/Bulb", which may leave out objects at its beginning. A match of a whole path wins over matches of its
/// end.
[[nodiscard]] std::vector<std::size_t> findObjects(const PrefabInspection::Composition& composition,
                                                   std::string_view text);

/// The one object that a text means. Reports that there is none, or that there are several, and returns NONE.
[[nodiscard]] std::size_t findSingleObject(Terminal& terminal, const PrefabInspection::Composition& composition,
                                           const std::string& text);

/// Names or paths that resemble a text which no object matches, at most three, the most similar first.
[[nodiscard]] std::vector<std::string> similarObjects(const PrefabInspection::Composition& composition,
                                                      const std::string& text);

/// "; did you mean 'A' or 'B'?", or nothing without names.
[[nodiscard]] std::string suggestion(const std::vector<std::string>& names);

/// At most three of the names, the most similar first.
[[nodiscard]] std::vector<std::string> similarNames(const std::string& text, std::vector<std::string> names);

} // namespace Kiln::PrefabTool
