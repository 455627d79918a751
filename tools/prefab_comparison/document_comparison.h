#pragma once

#include <prefab_comparison/change.h>
#include <prefab_comparison/loaded_document.h>

#include <cstddef>
#include <vector>

namespace Kiln::PrefabComparison {

/// The differences between two documents that have no problem(). Objects correspond if they have the same UUID, and
/// their components if they have the same type. If several objects have the same UUID, or one that cannot be read,
/// those with the same name correspond, and then those in the same order; if several components of an object have the
/// same type, those in the same order.
///
/// These do not count: the order of objects (apart from which one is first and which is the root), of pools, of items
/// and of properties, the number of pools of a type, the spelling of numbers and UUIDs, white space, attributes,
/// comments, text beside the elements of the layout, the name of the root element. See ValueComparison for values.
/// Everything else counts, also what the loader ignores.
///
/// The result begins with what is about the whole document, followed by the objects in the order of the second
/// document, and those that were removed.
[[nodiscard]] std::vector<Change> compareDocuments(const LoadedDocument& a, const LoadedDocument& b);

/// A component of an object of a document, and another version of it.
struct ComponentVersion {
    std::size_t object;
    DocumentIndex::Component component;
    const PrefabInspection::StoredItem* changed;
    std::ptrdiff_t lineShift; ///< Of a line of `changed` in its document to that of its file.
};

/// The differences between components of a document and other versions of them, whose elements are in `changed`, in the
/// order of the list.
[[nodiscard]] std::vector<Change> compareVersions(const LoadedDocument& document,
                                                  const std::vector<ComponentVersion>& versions,
                                                  const DataSection& changed);

} // namespace Kiln::PrefabComparison
