// Prints the registered components by type id, which is the order of their registrations.

#include <object_serialization/component_library.h>

#include <cstddef>
#include <cstdio>

int main() {
    const Kiln::ComponentLibrary& library = Kiln::ComponentLibrary::instance();
    for (std::size_t id = 0; id < library.componentsCount(); ++id) {
        std::printf("%s\n", library.componentName(id).c_str());
    }
    return 0;
}
