#include "program_version.h"

namespace Kiln::PrefabTool {

std::string_view programVersion() noexcept {
    return KILN_PROGRAM_VERSION; // Defined by the build, for this source only.
}

} // namespace Kiln::PrefabTool
