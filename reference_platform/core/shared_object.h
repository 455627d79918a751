#pragma once

#include <core/export.h>

namespace Kiln {

/// Keeps the shared object that contains an address mapped until the process ends, whatever dlclose is called with.
/// An address outside all shared objects changes nothing, and so does any address on systems without dlopen. Takes the
/// lock of the dynamic linker, so the caller must not hold a lock that static objects of a library take. Any thread.
KILN_CORE_EXPORT void pinSharedObject(const void* address) noexcept;

/// Keeps the shared object mapped that has called the function that this stands in. That is for functions which store
/// code or data of their callers until the process ends. The function must be exported, so that it is not compiled into
/// its callers, and must have a parameter that the caller destroys (a class with a destructor, by value), so that it is
/// not the last call of a function whose frame is gone.
[[gnu::always_inline]] inline void pinCaller() noexcept {
    pinSharedObject(__builtin_return_address(0));
}

} // namespace Kiln
