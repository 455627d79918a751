#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace Kiln::PrefabTool {

using OrderedJson = nlohmann::ordered_json;

/// A value as JSON on one line, in ASCII, because JSON allows characters in a string that control a terminal, such as
/// U+009B. Bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] std::string jsonText(const OrderedJson& value);

} // namespace Kiln::PrefabTool
