#include "resolution.h"

#include "applying/application.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Kiln::PrefabMerging {

namespace {

/// The text without the comments of conflicts.
[[nodiscard]] std::string withoutMarkers(std::string_view text, const std::vector<ConflictMarker>& markers) {
    std::string result(text);
    for (auto marker = markers.rbegin(); marker != markers.rend(); ++marker) {
        const std::size_t begin = blankBefore(text, marker->range.begin).begin;
        result.erase(begin, marker->range.end - begin);
    }
    return result;
}

/// The text with theirs at the places of the conflicts. Those that have no place any more are moved to `failed`.
[[nodiscard]] std::string withTheirs(std::string_view text, std::vector<ConflictMarker>& markers,
                                     std::vector<Conflict>& failed) {
    const KeyedDocument document(text);
    for (;;) {
        std::vector<Assignment> assignments;
        std::vector<Range> removed;
        for (const ConflictMarker& marker : markers) {
            const Conflict& conflict = marker.conflict;
            assignments.push_back({&conflict.place, conflict.theirs ? &*conflict.theirs : nullptr});
            removed.push_back({blankBefore(text, marker.range.begin).begin, marker.range.end});
        }
        Application application = apply(document, assignments, {}, removed);
        if (application.failed.empty()) {
            return std::move(application.text);
        }
        const auto isFailed = [&application](const ConflictMarker& marker) {
            return std::find(application.failed.begin(), application.failed.end(), &marker.conflict.place) !=
                   application.failed.end();
        };
        std::vector<ConflictMarker> others;
        for (ConflictMarker& marker : markers) {
            if (isFailed(marker)) {
                failed.push_back(marker.conflict);
            } else {
                others.push_back(marker);
            }
        }
        markers = std::move(others);
    }
}

} // namespace

ResolvedText resolveConflicts(std::string_view text, const Resolution& resolution) {
    std::vector<ConflictMarker> markers = findMarkers(text);
    std::erase_if(markers, [&resolution](const ConflictMarker& marker) {
        return resolution.object && marker.conflict.place.object != resolution.object;
    });
    ResolvedText result;
    if (markers.empty() || resolution.preference != Preference::THEIRS) {
        result.text = withoutMarkers(text, markers);
        result.resolvedCount = markers.size();
        return result;
    }
    const auto whole = std::find_if(markers.begin(), markers.end(), [](const ConflictMarker& marker) {
        return marker.conflict.place.kind == Place::Kind::FILE && marker.conflict.theirs;
    });
    if (whole != markers.end()) {
        return {*whole->conflict.theirs, markers.size(), {}};
    }
    result.text = withTheirs(text, markers, result.failed);
    result.resolvedCount = markers.size();
    return result;
}

} // namespace Kiln::PrefabMerging
