#pragma once

#include "markup.h"
#include "place.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabMerging {

/// A place that two sides have changed in different ways. Values are pieces of XML as in Difference.
struct Conflict {
    Place place;
    std::string reason; ///< A clause.
    std::optional<std::string> base;
    std::optional<std::string> ours;
    std::optional<std::string> theirs;
};

/// A conflict that a file holds, in a comment.
struct ConflictMarker {
    Conflict conflict;
    Range range; ///< Of the comment.
};

/// The comment that holds a conflict: "<!-- kiln-prefab conflict {…} -->", with one line of JSON in ASCII in which no
/// two hyphens follow each other.
[[nodiscard]] std::string markerText(const Conflict& conflict);

/// The conflicts that a text holds, in order.
[[nodiscard]] std::vector<ConflictMarker> findMarkers(std::string_view text);

/// The comments that begin like a conflict but cannot be read, in order: somebody has edited them, or they are of
/// another version.
[[nodiscard]] std::vector<Range> findUnreadableMarkers(std::string_view text);

} // namespace Kiln::PrefabMerging
