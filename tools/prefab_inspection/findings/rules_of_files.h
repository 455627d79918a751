#pragma once

#include <prefab_inspection/findings/finding_rules.h>

#include <array>

/// The rules of the groups KP01 and KP02: files and the structure of documents.
namespace Kiln::PrefabInspection::Rules {

inline constexpr std::array<FindingRule, 10> FILES{{
    {FindingCode::NOT_WELL_FORMED, "not-well-formed", Severity::ERROR,
     "The file is not well-formed XML: a tag has no end, tags cross each other, or there is a character that XML does "
     "not allow where it is.",
     "The loader refuses the whole file, and every prefab that nests it is loaded without it.",
     R"(<gameObject>
	<name>Lamp</nmae>
</gameObject>)",
     "Correct the text at the reported position. The cause is often a few lines before it: look for the last tag that "
     "was opened and not closed."},

    {FindingCode::EMPTY_FILE, "empty-file", Severity::ERROR,
     "The file is empty, or has no element: it contains only white space, comments or an XML declaration.",
     "The loader refuses the file, and every prefab that nests it is loaded without it. Files often become empty when "
     "saving or a transfer is interrupted.",
     R"(<?xml version="1.0" encoding="utf-8"?>)",
     "Restore the file from version control, or save the prefab again. If nothing nests it, delete it."},

    {FindingCode::BARE_AMPERSAND, "bare-ampersand", Severity::WARNING,
     "A text has the character '&' where it does not begin a reference such as '&lt;' or '&#10;'.",
     "The loader reads it as the character itself, but this is not well-formed XML, and other programs refuse the "
     "file.",
     R"(<name>Pier & jetty</name>)", "Write '&amp;' instead of '&', or put the text into a CDATA section."},

    {FindingCode::DUPLICATE_ATTRIBUTE, "duplicate-attribute", Severity::WARNING,
     "A start tag has the same attribute twice.",
     "The loader ignores attributes, but this is not well-formed XML, and other programs refuse the file.",
     R"(<gameObject note="old" note="new">)", "Remove one of the two attributes."},

    {FindingCode::INVALID_UTF8, "invalid-utf8", Severity::WARNING, "The file has bytes that are not UTF-8.",
     "The loader keeps the bytes as they are, so that names and paths with them equal no text that was typed "
     "correctly, and other programs refuse the file or show replacement characters.",
     "<name>Fa\\xe7ade</name>",
     "Save the file as UTF-8. A file with such bytes was usually saved in the character set of an older system."},

    {FindingCode::FILE_MISSING, "file-missing", Severity::ERROR,
     "There is no file of that path beneath any resource root.",
     "A prefab that does not exist cannot be loaded. Where a prefab nests it, the integration point is left out, and "
     "the objects below the point lose their parent.",
     R"(<resource>props/lmap.prefab</resource>)",
     "Correct the path, which is relative to a resource root and not to the file that names it, or add the file. If "
     "the file lies beneath another directory, name that directory with --root."},

    {FindingCode::PATH_OUTSIDE_ROOTS, "path-outside-roots", Severity::ERROR,
     "The path leads to a place outside of the resource roots, by '..', a symbolic link or an absolute path, or "
     "contains a control character.",
     "The loader never reads files outside of the resource roots, so for it the prefab is missing.",
     R"(<resource>../other_game/props/lamp.prefab</resource>)",
     "Move the file beneath a resource root and name it by its path relative to that root."},

    {FindingCode::PATH_LETTER_CASE, "path-letter-case", Severity::ERROR,
     "No file has exactly this path, but one differs from it only in upper and lower case.",
     "Paths are compared byte for byte. The prefab may be found on a machine whose file system ignores case, and is "
     "missing on all others.",
     R"(<resource>Props/Lamp.prefab</resource>)",
     "Write the path in the same letters as the names of file and folders."},

    {FindingCode::FILE_UNREADABLE, "file-unreadable", Severity::ERROR,
     "There is something of that path, but it cannot be read: it is not a regular file, access is denied, reading "
     "fails, or it is larger than the limit for files.",
     "The loader treats the prefab as missing, and every prefab that nests it is loaded without it.",
     R"(<resource>props</resource>)",
     "Name a file instead of a folder, correct the permissions, or split the prefab into smaller ones."},

    {FindingCode::UNRESOLVED_CONFLICT, "unresolved-conflict", Severity::ERROR,
     "The file holds a conflict of a merge that nobody has decided yet, in a comment that begins with 'kiln-prefab "
     "conflict'.",
     "The loader ignores the comment and loads what one side of the merge has. A change of the other side would be "
     "lost "
     "without anybody noticing.",
     R"(<!-- kiln-prefab conflict {"version":1, ...} -->
<brightness>300</brightness>)",
     "Run 'kiln-prefab resolve FILE' to list the conflicts, and decide them with --prefer ours or --prefer theirs. Or "
     "edit the values and remove the comments."},
}};

inline constexpr std::array<FindingRule, 9> DOCUMENTS{{
    {FindingCode::FORMAT_VERSION, "format-version", Severity::ERROR,
     "The element formatVersion is missing, or has another value than 1.",
     "The loader refuses documents of every other version, so that the prefab has no objects.",
     R"(<formatVersion>2</formatVersion>)",
     "Save the prefab again with an editor of this version. If only the element is missing, add "
     "<formatVersion>1</formatVersion> as the first child of the root element."},

    {FindingCode::GAME_OBJECTS_MISSING, "game-objects-missing", Severity::ERROR,
     "The document has no element gameObjects, or the element has no game object.",
     "The prefab has no objects and so cannot be created.",
     R"(<prefab>
	<formatVersion>1</formatVersion>
</prefab>)",
     "Add the element gameObjects with at least one gameObject, or restore the file if its objects were lost."},

    {FindingCode::UNKNOWN_ELEMENT, "unknown-element", Severity::WARNING,
     "The format does not have an element of that name at this position.",
     "The loader skips the element with everything in it, without a message.",
     R"(<gameObject>
	<uid>1b7c5a52-0d0e-4d3b-8c43-6f2a9b1e7d10</uid>
</gameObject>)",
     "Correct the name, which has to be equal letter by letter. Remove the element if nothing uses it."},

    {FindingCode::REPEATED_ELEMENT, "repeated-element", Severity::WARNING,
     "An element that can appear only once appears again.",
     "The loader uses only one of them, without a message: the first, or the last value of a property.",
     R"(<gameObject>
	<name>Lamp</name>
	<name>Lantern</name>
</gameObject>)",
     "Keep the element that is meant, and remove the others."},

    {FindingCode::COMPONENTS_MISSING, "components-missing", Severity::WARNING,
     "The document has no element components.",
     "Its objects have neither a transform nor a parent. A prefab of several objects cannot be created, because each "
     "of "
     "them is a root.",
     R"(<prefab>
	<formatVersion>1</formatVersion>
	<gameObjects>
		<gameObject>...</gameObject>
	</gameObjects>
</prefab>)",
     "Add the element components with the pools of the components, or an empty one if the object is to have none."},

    {FindingCode::POOL_WITHOUT_TYPE, "pool-without-type", Severity::WARNING,
     "A pool has no element type, or the element is empty.",
     "The loader cannot know what the components are and skips the pool, without a message.",
     R"(<pool>
	<version>1</version>
	<item>...</item>
</pool>)",
     "Add the element type with the registered name of the component type."},

    {FindingCode::INDEX_OUT_OF_RANGE, "index-out-of-range", Severity::ERROR,
     "A component has no index of a game object, or its index is not smaller than the number of game objects.",
     "The loader skips the component with an error. Usually an object was removed and the indices were not adjusted: "
     "then other components belong to the wrong objects, too.",
     R"(<item>
	<gameObject>12</gameObject>
	<options>35</options>
	<properties/>
</item>)",
     "Write the index of the object in the list gameObjects, where the first object has the index 0. Check the other "
     "indices, too."},

    {FindingCode::LIMIT_EXCEEDED, "limit-exceeded", Severity::ERROR,
     "The document exceeds a limit, such as the number of objects, the number of components of an object, the length "
     "of "
     "a name or the nesting of elements.",
     "The loader refuses documents beyond the limits, which protect the program from hostile files.",
     R"(<resource>props/props/props/...</resource>)",
     "Split the prefab into smaller ones that nest each other, or shorten the name, path or override text."},

    {FindingCode::UNREADABLE_NUMBER, "unreadable-number", Severity::ERROR,
     "The text of an element that takes a number is no decimal number, or the number is outside of the range of the "
     "element.",
     "The loader reports an error and uses a default: no flags, all roles, or the version 0. A component without a "
     "readable index is skipped.",
     R"(<flags>static</flags>)", "Write a decimal number. Flags and options are sums: 1 + 2 is written as 3."},
}};

} // namespace Kiln::PrefabInspection::Rules
