#pragma once

#include <prefab_comparison/change.h>
#include <resource/file_content.h>

#include <string>
#include <vector>

namespace Kiln::PrefabComparison {

/// The outcome of a comparison of two texts.
struct TextComparison {
    std::string problem; ///< Why one of them is not a document, see LoadedDocument::problem(); empty if both are.
    std::vector<Change> changes;
};

/// Reads two documents and compares them as compareDocuments() does, on two threads. If the texts differ inside of
/// components only, as after a change of values, just these components of the second one are read. The names are for
/// messages.
[[nodiscard]] TextComparison compareTexts(std::string nameA, FileContent a, std::string nameB, FileContent b);

} // namespace Kiln::PrefabComparison
