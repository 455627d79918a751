#include "component_libraries.h"

#include <filesystem>
#include <system_error>

#include <dlfcn.h>

namespace Kiln::PrefabTool {

std::string loadComponentLibrary(const std::string& name) {
    std::error_code error;
    const bool isInCurrentDirectory =
        name.find('/') == std::string::npos && std::filesystem::is_regular_file(name, error);
    const std::string file = isInCurrentDirectory ? "./" + name : name;
    // RTLD_LOCAL keeps libraries of different authors from binding to each other's symbols; component types are
    // identified by name and need no shared symbols. Never closed, because the framework keeps what the library
    // registered.
    if (dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        return {};
    }
    const char* const problem = dlerror(); // NOLINT(concurrency-mt-unsafe): thread-local in glibc
    return problem ? problem : "unknown failure of the dynamic linker";
}

} // namespace Kiln::PrefabTool
