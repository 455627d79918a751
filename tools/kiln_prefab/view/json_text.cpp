#include "json_text.h"

namespace Kiln::PrefabTool {

std::string jsonText(const OrderedJson& value) {
    constexpr bool IS_ASCII = true;
    return value.dump(-1, ' ', IS_ASCII, OrderedJson::error_handler_t::replace);
}

} // namespace Kiln::PrefabTool
