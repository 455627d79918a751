#pragma once

#include <cstdint>

namespace Kiln::PrefabInspection {

/// The kinds of findings. The value is the number in the code that users see: NOT_WELL_FORMED is KP0101. A code keeps
/// its meaning for ever; the number of a code that was removed is never used again. findingRule() describes each.
enum class FindingCode : std::uint16_t {
    // The file.
    NOT_WELL_FORMED = 101,
    EMPTY_FILE = 102,
    BARE_AMPERSAND = 103,
    DUPLICATE_ATTRIBUTE = 104,
    INVALID_UTF8 = 105,
    FILE_MISSING = 106,
    PATH_OUTSIDE_ROOTS = 107,
    PATH_LETTER_CASE = 108,
    FILE_UNREADABLE = 109,
    UNRESOLVED_CONFLICT = 110,

    // The structure of the document.
    FORMAT_VERSION = 201,
    GAME_OBJECTS_MISSING = 202,
    UNKNOWN_ELEMENT = 203,
    REPEATED_ELEMENT = 204,
    COMPONENTS_MISSING = 205,
    POOL_WITHOUT_TYPE = 206,
    INDEX_OUT_OF_RANGE = 207,
    LIMIT_EXCEEDED = 208,
    UNREADABLE_NUMBER = 209,

    // Components and their values.
    UNKNOWN_COMPONENT = 301,
    COMPONENT_VERSION = 302,
    UNKNOWN_PROPERTY = 303,
    UNREADABLE_VALUE = 304,
    SUSPICIOUS_TRANSFORM = 305,
    REPEATED_COMPONENT = 306,

    // Game objects and their hierarchy.
    NO_ROOT = 401,
    SEVERAL_ROOTS = 402,
    ROOT_NOT_FIRST = 403,
    DUPLICATE_UUID = 404,
    ZERO_UUID = 405,
    UNREADABLE_UUID = 406,
    COPIED_FILE = 407,
    PARENT_NOT_FOUND = 408,
    PARENT_CYCLE = 409,

    // Links.
    LINK_TO_NOTHING = 501,
    LINK_OUT_OF_REACH = 502,

    // Nested prefabs.
    NESTING_CYCLE = 601,
    NESTING_TOO_DEEP = 602,
    COMPONENT_AT_POINT_AND_ROOT = 603,
    NESTED_TRANSFORM_IGNORED = 604,
    NESTED_ROOT_INACTIVE = 605,
    UNUSED_PREFAB = 606,

    // Overrides.
    MALFORMED_OVERRIDES = 701,
    OVERRIDE_OF_UNKNOWN_OBJECT = 702,
    OVERRIDE_OF_UNKNOWN_COMPONENT = 703,
    OVERRIDE_WITHOUT_EFFECT = 704,
    HIDDEN_OVERRIDE = 705,
};

} // namespace Kiln::PrefabInspection
