#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

/// A value of a JSON document that knows the line on which it stands, for messages about files that people write.
struct PositionedJson {
    enum class Type { NUL, BOOLEAN, NUMBER, STRING, ARRAY, OBJECT };

    struct Member;

    Type type = Type::NUL;
    std::size_t line = 0; ///< From 1. Of an array or object: where it begins.
    bool boolean = false;
    std::string string;                   ///< Of a string.
    std::vector<PositionedJson> elements; ///< Of an array.
    std::vector<Member> members;          ///< Of an object, in the order of the file; keys may repeat.
};

struct PositionedJson::Member {
    std::string key;
    std::size_t line = 0; ///< Of the key.
    PositionedJson value;
};

/// Reads a document. Throws CommandError with the text "NAME:LINE: what is wrong".
[[nodiscard]] PositionedJson readPositionedJson(std::string_view text, const std::string& name);

} // namespace Kiln::PrefabTool
