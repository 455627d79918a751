#include <core/log.h>
#include <tessel_foundation/component.h>

namespace Kiln::Tessel {

IComponent::~IComponent() = default;

IComponent::TypesLibrary& IComponent::types() {
    // Never destroyed: other libraries use it from their static initialisers and destructors, in any order.
    static TypesLibrary* const library = new TypesLibrary();
    return *library;
}

void reportTooManyComponentTypes() {
    constexpr unsigned LINE = 174; // Part of the contract with log readers.
    DebugMessageHelper(0, LogSeverity::CRITICAL, "", "shared_libs/tessel_foundation/component", LINE)
        .message("Too Many IComponent types!");
}

} // namespace Kiln::Tessel
