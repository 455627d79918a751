#pragma once

#include <string>
#include <string_view>

namespace Kiln::Tessel::Streaming::detail {

/// Appends a text as a JSON string with its quotation marks. Each byte that is not part of well-formed UTF-8 becomes
/// the replacement character U+FFFD, so that the result is valid for any text.
void appendJsonString(std::string& json, std::string_view text);

} // namespace Kiln::Tessel::Streaming::detail
