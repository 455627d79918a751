#include <core/type_name.h>

#if __has_include(<cxxabi.h>)
#include <cstdlib>
#include <memory>

#include <cxxabi.h>
#endif

namespace Kiln {

std::string typeNameInSource(std::type_index type) {
#if __has_include(<cxxabi.h>)
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                      std::free);
    return status == 0 ? name.get() : type.name();
#else
    return type.name();
#endif
}

} // namespace Kiln
