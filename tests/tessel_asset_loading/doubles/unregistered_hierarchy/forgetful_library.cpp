#include "forgetful_library.h"

#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>

#include <optional>

namespace Kiln {

namespace TestSupport {

namespace {

std::optional<Forgotten> s_forgotten;

} // namespace

ForgetfulLibrary::ForgetfulLibrary(Forgotten what) {
    s_forgotten = what;
}

ForgetfulLibrary::~ForgetfulLibrary() {
    s_forgotten.reset();
}

} // namespace TestSupport

// Both replace the library's definitions in this whole program: the libraries' calls are bound to the executable's
// symbols. They do the same by means of the records.

std::size_t ComponentLibrary::findComponent(const std::type_info& type) const {
    if (TestSupport::s_forgotten == TestSupport::Forgotten::HIERARCHY_TYPE &&
        type == typeid(Tessel::HierarchyComponent)) {
        return INVALID_ID;
    }
    for (std::size_t id = 0; id < componentsCount(); ++id) {
        if (!componentName(id).empty() && componentMeta(id).type == type) {
            return id;
        }
    }
    return INVALID_ID;
}

SmartPointer<IComponentDescriptor> ComponentLibrary::createDescriptor(std::size_t id) const {
    if (componentName(id).empty() || (TestSupport::s_forgotten == TestSupport::Forgotten::HIERARCHY_DESCRIPTOR &&
                                      componentMeta(id).type == typeid(Tessel::HierarchyComponent))) {
        return nullptr;
    }
    return componentMeta(id).factory();
}

} // namespace Kiln
