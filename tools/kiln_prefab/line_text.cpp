#include "line_text.h"

#include <core/printable_text.h>

namespace Kiln::PrefabTool {

std::string printable(std::string_view text) {
    return printableText(text);
}

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace Kiln::PrefabTool
