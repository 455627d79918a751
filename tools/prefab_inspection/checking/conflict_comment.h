#pragma once

#include <prefab_inspection/documents/source_text.h>
#include <prefab_inspection/export.h>

#include <optional>
#include <string_view>
#include <vector>

namespace Kiln::PrefabInspection {

/// How the comments begin in which a merge keeps conflicts. The loader ignores comments, so that one side of the
/// conflict stays in force.
inline constexpr std::string_view CONFLICT_COMMENT = "<!-- kiln-prefab conflict ";

/// The text of a comment after the words that mark it as a conflict; nothing for another comment. An editor may have
/// changed the white space between them. `comment` begins with "<!--".
[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT std::optional<std::string_view> conflictText(std::string_view comment);

/// The comments of a text that hold conflicts, in order, with "<!--" and "-->". The text need not be well-formed. Much
/// faster than parsing.
[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT std::vector<TextRange> conflictComments(std::string_view text);

} // namespace Kiln::PrefabInspection
