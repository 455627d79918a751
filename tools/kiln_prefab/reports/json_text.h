#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace Kiln::PrefabTool {

using Json = nlohmann::ordered_json;

/// A value in one line of ASCII, because JSON allows characters in a string that control a terminal, such as U+009B.
/// Bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] inline std::string jsonText(const Json& value) {
    constexpr bool IS_ASCII = true;
    return value.dump(-1, ' ', IS_ASCII, Json::error_handler_t::replace);
}

} // namespace Kiln::PrefabTool
