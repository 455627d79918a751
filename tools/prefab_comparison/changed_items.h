#pragma once

#include <prefab_inspection/documents/prefab_document.h>

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace Kiln::PrefabComparison {

/// A half-open range of bytes, from the '<' of an item's start tag to the '>' of its end tag.
struct ItemRange {
    std::size_t begin;
    std::size_t end;
};

/// Probably an item that differs between two texts, by its ranges in both.
struct ChangedItem {
    ItemRange a;
    ItemRange b;
};

/// The items that contain every difference between two texts, in their order; everything else is the same in both. None
/// if a difference is not in an item, or if the items are more than half of a text. This is a guess, because the texts
/// are not parsed: comments and CDATA sections can contain what looks like an item. parseItems() finds that out.
[[nodiscard]] std::optional<std::vector<ChangedItem>> findChangedItems(std::string_view a, std::string_view b);

/// The items of a text as a document of one pool. None unless each range is exactly one element `item`, wherever the
/// parser is between two elements when it gets there.
[[nodiscard]] std::optional<PrefabInspection::PrefabDocument> parseItems(std::string_view text,
                                                                         const std::vector<ItemRange>& ranges);

} // namespace Kiln::PrefabComparison
