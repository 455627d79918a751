#include <prefab_inspection/checking/nearest_name.h>

#include <algorithm>
#include <cstddef>

namespace Kiln::PrefabInspection {

namespace {

/// Longer names are not compared, because the comparison takes quadratic time.
constexpr std::size_t MAX_SIZE = 100;

/// The optimal string alignment distance: Levenshtein's, with exchanged neighbours as one change.
[[nodiscard]] std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> beforePrevious(b.size() + 1);
    std::vector<std::size_t> previous(b.size() + 1);
    std::vector<std::size_t> current(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) {
        previous[j] = j;
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = previous[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1, replaced});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                current[j] = std::min(current[j], beforePrevious[j - 2] + 1);
            }
        }
        std::swap(beforePrevious, previous);
        std::swap(previous, current);
    }
    return previous[b.size()];
}

} // namespace

std::optional<NearestName> nearestName(std::string_view misspelt, std::vector<std::string> names) {
    if (misspelt.empty() || misspelt.size() > MAX_SIZE) {
        return std::nullopt;
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    std::optional<NearestName> nearest;
    const std::size_t limit = std::max<std::size_t>(1, misspelt.size() / 3);
    for (std::string& name : names) {
        const std::size_t changes = name.size() > MAX_SIZE ? limit + 1 : distance(misspelt, name);
        if (changes > limit || (nearest && changes > nearest->distance)) {
            continue;
        }
        if (nearest && changes == nearest->distance) {
            nearest->isUnique = false;
        } else {
            nearest = NearestName{std::move(name), true, changes};
        }
    }
    return nearest;
}

std::string suggestion(const std::optional<NearestName>& nearest) {
    return nearest ? " Did you mean '" + nearest->name + "'?" : std::string();
}

} // namespace Kiln::PrefabInspection
