#pragma once

#include <core/nox_flags.h>
#include <object_framework/export.h>

#include <cstdint>

namespace Kiln::Tessel {

/// Options of a component type, of one stored component, or of a reactive manager: the process roles that use it and,
/// in the registration record of a type, how the options of a stored component are combined with those of the record.
enum class ComponentOption : std::uint32_t {
    CLIENT = 0x01,
    SERVER = 0x02,
    USE_RECORD_OPTIONS = 0x08, ///< Every instance has the record's options; stored options are ignored.
    SKIP_ROLE_CHECK = 0x10,    ///< Instances are read in every process.
    EDITOR = 0x20,
};

/// A set of options.
using ComponentOptions = nox::Flags<ComponentOption>;

/// The roles client, server and editor, which are the only options that files store; 35 in decimal.
inline constexpr ComponentOptions ALL_ROLES{0x23U};

/// The roles of this process; ALL_ROLES unless set otherwise. Any thread.
[[nodiscard]] KILN_OBJECT_FRAMEWORK_EXPORT ComponentOptions processRoles();
/// Sets the roles of this process, which count for what is created or read from then on.
KILN_OBJECT_FRAMEWORK_EXPORT void setProcessRoles(ComponentOptions roles);

} // namespace Kiln::Tessel
