#include <core/shared_object.h>

#if __has_include(<dlfcn.h>)
#include <dlfcn.h>
#endif

namespace Kiln {

#ifdef RTLD_NODELETE

void pinSharedObject(const void* address) noexcept {
    Dl_info object{};
    if (dladdr(address, &object) == 0 || !object.dli_fname) {
        return;
    }
    // The object is mapped already. Opening it again sets the flag, which closing does not remove.
    if (void* const handle = dlopen(object.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE)) {
        dlclose(handle);
    }
}

#else

void pinSharedObject(const void* /*address*/) noexcept {}

#endif

} // namespace Kiln
