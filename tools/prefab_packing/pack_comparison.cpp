#include "pack_comparison.h"

#include "packed_file.h"

#include <optional>
#include <utility>

namespace Kiln::PrefabPacking {

namespace {

/// The file of a document; none, with a problem, if it is damaged.
[[nodiscard]] std::optional<std::string> textOf(const ResourcePack& pack, std::size_t index,
                                                std::vector<std::string>& problems) {
    std::string problem;
    std::optional<std::string> text = unpackDocument(pack, index, problem);
    if (!text) {
        problems.push_back(std::move(problem));
    }
    return text;
}

} // namespace

PackComparison comparePacks(const ResourcePack& a, const ResourcePack& b) {
    PackComparison comparison;
    const auto add = [&comparison](PackDifference::Kind kind, std::string_view path) {
        comparison.differences.push_back({kind, std::string(path)});
    };
    std::size_t indexA = 0;
    std::size_t indexB = 0;
    while (indexA < a.documentsCount() || indexB < b.documentsCount()) {
        const std::string_view pathA = indexA < a.documentsCount() ? a.document(indexA).path : std::string_view();
        const std::string_view pathB = indexB < b.documentsCount() ? b.document(indexB).path : std::string_view();
        if (pathB.empty() || (!pathA.empty() && pathA < pathB)) {
            add(PackDifference::Kind::ONLY_IN_A, pathA);
            ++indexA;
        } else if (pathA.empty() || pathB < pathA) {
            add(PackDifference::Kind::ONLY_IN_B, pathB);
            ++indexB;
        } else {
            const std::optional<std::string> textA = textOf(a, indexA, comparison.problems);
            const std::optional<std::string> textB = textOf(b, indexB, comparison.problems);
            if (textA && textB && *textA != *textB) {
                add(PackDifference::Kind::CHANGED, pathA);
            }
            ++indexA;
            ++indexB;
        }
    }
    return comparison;
}

std::vector<std::string> verifyPack(const ResourcePack& pack) {
    std::vector<std::string> problems;
    for (std::size_t index = 0; index < pack.documentsCount(); ++index) {
        static_cast<void>(textOf(pack, index, problems));
    }
    return problems;
}

} // namespace Kiln::PrefabPacking
