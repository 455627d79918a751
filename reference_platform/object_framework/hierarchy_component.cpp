#include <object_framework/hierarchy_component.h>

namespace Kiln::Tessel {

HierarchyComponent::~HierarchyComponent() = default;

} // namespace Kiln::Tessel
