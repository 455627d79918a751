#pragma once

#include "../keyed_document.h"
#include "assignment.h"

#include <string>
#include <vector>

namespace Kiln::PrefabMerging {

/// A comment that is inserted before the element that a place is in, or at the end of the game objects.
struct PlacedComment {
    const Place* place = nullptr;
    std::string text;
};

/// A changed text.
struct Application {
    std::string text;
    std::vector<const Place*> failed; ///< What the document has no place for, such as a property of a missing object.
};

/// The text of a document with new values and comments, and without the ranges of `removed`. Everything else keeps its
/// bytes, except for the indices of game objects. New game objects and components are added at the end, new roots at
/// the beginning. Throws IrregularText.
[[nodiscard]] Application apply(const KeyedDocument& document, const std::vector<Assignment>& assignments,
                                const std::vector<PlacedComment>& comments, const std::vector<Range>& removed = {});

} // namespace Kiln::PrefabMerging
