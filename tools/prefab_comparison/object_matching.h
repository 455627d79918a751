#pragma once

#include <prefab_comparison/document_index.h>

#include <cstddef>
#include <vector>

namespace Kiln::PrefabComparison {

/// Which objects of two documents correspond. Indices of objects, or DocumentIndex::NONE.
struct ObjectMatches {
    std::vector<std::size_t> ofA; ///< By the objects of the first document.
    std::vector<std::size_t> ofB;
};

/// See compareDocuments().
[[nodiscard]] ObjectMatches matchObjects(const DocumentIndex& a, const DocumentIndex& b);

} // namespace Kiln::PrefabComparison
