#pragma once

#include "file_renaming.h"

#include <prefab_editing/text_edits.h>

#include <functional>

namespace Kiln::PrefabTool {

/// What a change of the UUIDs of a prefab makes of it and of the files that refer to its objects.
struct UuidRenaming {
    struct File {
        std::string path; ///< Resource path.
        PrefabEditing::EditedText text;
    };

    std::vector<File> files; ///< Those that change: first the prefab itself, then the others by ascending path.
    std::size_t objectsCount = 0;
    std::size_t linksCount = 0; ///< Links, parents and keys of overrides that are changed.

    // As in RenamedFile, of all files.
    std::vector<PrefabInspection::Place> problems;
    std::vector<PrefabInspection::Place> otherValues;
    std::map<std::string, std::size_t> unknownComponents;
};

/// Gives the objects of a file new UUIDs. Changes the file itself, and those of the other files that nest it at any
/// depth, as texts in memory; files that nest it and can't be read are problems. Throws CommandError if the file itself
/// has no document or can't be changed. One thread.
[[nodiscard]] UuidRenaming renameUuids(PrefabInspection::PrefabFiles& files, const std::string& path,
                                       const std::vector<std::string>& others, const UuidTable::MakeUuid& makeUuid);

} // namespace Kiln::PrefabTool
