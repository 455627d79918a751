#pragma once

#include "uuid_table.h"

#include <prefab_editing/text_edits.h>
#include <prefab_inspection/composition/prefab_file.h>
#include <prefab_inspection/findings/finding.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// What a change of UUIDs makes of one file.
struct RenamedFile {
    std::vector<PrefabEditing::TextEdit> edits; ///< Of the file's text.
    std::size_t linksCount = 0;                 ///< Links, parents and keys of overrides that are changed.

    /// What should be changed and can't be. The texts are sentences without full stop.
    std::vector<PrefabInspection::Place> problems;

    /// Values of described components that look like UUIDs of the objects, but are no links, and stay.
    std::vector<PrefabInspection::Place> otherValues;

    /// Number of changed values of components that are not described, by type.
    std::map<std::string, std::size_t> unknownComponents;
};

/// Finds the changes of a file that give the objects of the table's file their new UUIDs: of the objects if it is that
/// file, and of everything in the file that refers to them, in properties and in override data at any depth. `file`
/// must be one of `files` and have a document. One thread. Throws CommandError if an object of the table's file can't
/// be given its new UUID.
[[nodiscard]] RenamedFile renameUuids(PrefabInspection::PrefabFiles& files, const PrefabInspection::PrefabFile& file,
                                      const UuidTable& table);

} // namespace Kiln::PrefabTool
