#include "page_template.h"

namespace Kiln::PrefabTool {

const char PAGE_TEMPLATE[] = "";
const std::size_t PAGE_TEMPLATE_SIZE = 0;

} // namespace Kiln::PrefabTool
