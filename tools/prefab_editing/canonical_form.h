#pragma once

#include <prefab_editing/text_edits.h>
#include <resource/resource_text.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabEditing {

/// The canonical form of a prefab document: the same document with one layout, so that changing a value changes one
/// line, and that equal documents which were laid out differently become equal texts.
///
/// - Each element begins on a line of its own, indented by one tab per level, 50 at most. There are no empty lines, and
///   the text ends with a line break.
/// - An element without child elements stands with its value and its end tag as they were: white space can be part of
///   the value. It has an end tag even if it is empty.
/// - Tags have single spaces between attributes and no others.
/// - Comments stay where they are, on the line of what precedes them or on their own.
/// - The format's own numbers and UUIDs (format version, flags, indices, options, versions, UUIDs of game objects) are
///   spelled as the platform writes them, if the loader can read them.
///
/// Nothing else changes: neither the order of anything nor values, unknown elements, comments, CDATA sections,
/// attributes, the declaration, the byte order mark or the kind of the line ends. The canonical form of a text in
/// canonical form is the text itself. The form depends on the text alone, and not on registered component types.
///
/// Returns none and sets `problem` if the loader would refuse the text, or the canonical form because of its size
/// (ResourceLimits). Threads: any.
[[nodiscard]] std::optional<std::string> canonicalForm(std::string_view text, XmlProblem& problem);

/// The same as the changes of the text, sorted; they neither overlap nor touch.
[[nodiscard]] std::optional<std::vector<TextEdit>> canonicalEdits(std::string_view text, XmlProblem& problem);

} // namespace Kiln::PrefabEditing
