#pragma once

#include <prefab_comparison/override_records.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln::PrefabComparison {

enum class ChangeKind {
    DOCUMENT_CHANGED, ///< The format version, the presence of the list of objects, or which object is first or the
                      ///< root.
    OBJECT_ADDED,
    OBJECT_REMOVED,
    OBJECT_MOVED, ///< It has another parent, or its HierarchyComponent is new or gone.
    OBJECT_RENAMED,
    FLAGS_CHANGED,
    COMPONENT_ADDED,
    COMPONENT_REMOVED,
    OPTIONS_CHANGED,
    VERSION_CHANGED, ///< Of a pool.
    VALUE_ADDED,
    VALUE_REMOVED,
    VALUE_CHANGED,
    OVERRIDE_ADDED,
    OVERRIDE_REMOVED,
    OVERRIDE_CHANGED,
    NESTED_PREFAB_CHANGED, ///< An integration point nests another file.
    UNUSED_CONTENT_CHANGED ///< Elements that the loader ignores, such as a second name.
};

/// The name of a kind in JSON, such as "value-changed".
[[nodiscard]] std::string_view kindName(ChangeKind kind) noexcept;

/// One difference between two documents, or between the instances that are made of them.
struct Change {
    ChangeKind kind = ChangeKind::DOCUMENT_CHANGED;

    /// Where an inherited change of an instance comes from. The file that is compared contains every other change.
    enum class Inheritance { NONE, NESTED_FILE, OVERRIDE };
    Inheritance inheritance = Inheritance::NONE;
    std::string source; ///< The resource path of the file that an inherited change comes from.

    std::string uuid;           ///< Of the object; the text as it is if it is no UUID; empty for none.
    std::string objectPath;     ///< The names that lead to the object, in the second document unless it was removed.
    bool isObjectIndex = false; ///< The object does not exist: `objectPath` is the index that the components have.

    std::string component;      ///< Type name; empty for none.
    std::size_t occurrence = 0; ///< Among the components of that type of the object.

    /// The records of override texts that lead to the value, from the outer to the inner text; empty for none.
    std::vector<OverrideKey> overrides;

    std::string property;              ///< Such as "moorings[0].line"; for other kinds what has changed.
    std::optional<std::string> before; ///< None if it is absent.
    std::optional<std::string> after;

    /// The values of a component that was added or removed, or the component types of such an object.
    std::vector<std::pair<std::string, std::string>> content;

    std::size_t lineBefore = 0; ///< In the first file; 0 for none.
    std::size_t lineAfter = 0;
};

} // namespace Kiln::PrefabComparison
