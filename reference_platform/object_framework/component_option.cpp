#include <object_framework/component_option.h>

#include <atomic>

namespace Kiln::Tessel {

namespace {
// Set at start-up and read by workers. Relaxed order is enough, because no other data is published through it.
std::atomic<std::uint32_t> s_processRoles{ALL_ROLES.bits()};
} // namespace

ComponentOptions processRoles() {
    return ComponentOptions(s_processRoles.load(std::memory_order_relaxed));
}

void setProcessRoles(ComponentOptions roles) {
    s_processRoles.store(roles.bits(), std::memory_order_relaxed);
}

} // namespace Kiln::Tessel
