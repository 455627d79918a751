#pragma once

#include "plugin_api.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include <dlfcn.h>

namespace Kiln::BoundaryTests {

[[noreturn]] inline void fail(const std::string& reason) {
    std::fprintf(stderr, "FAILED: %s\n", reason.c_str());
    std::_Exit(3);
}

inline void require(bool condition, const std::string& what) {
    if (!condition) {
        fail(what);
    }
}

/// Loads a shared object by its name.
[[nodiscard]] inline void* openLibrary(const std::string& directory, const std::string& name) {
    void* const library = dlopen((directory + "/" + name).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        fail(dlerror());
    }
    return library;
}

/// A function of type F that the library exports.
template <class F>
[[nodiscard]] F* findFunction(void* library, const char* name) {
    void* const address = dlsym(library, name);
    require(address != nullptr, std::string("no function ") + name);
    return reinterpret_cast<F*>(address);
}

[[nodiscard]] inline const PluginApi& openPlugin(const std::string& directory, const std::string& name) {
    return *findFunction<PluginEntry>(openLibrary(directory, name), PLUGIN_ENTRY)();
}

} // namespace Kiln::BoundaryTests
