#include <tessel_foundation/component_storage.h>

namespace Kiln::Tessel {

GenericComponentStorage::GenericComponentStorage(ComponentTypeId type) noexcept : m_type(type) {}

GenericComponentStorage::~GenericComponentStorage() = default;

} // namespace Kiln::Tessel
