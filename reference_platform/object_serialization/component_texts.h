#pragma once

#include <object_serialization/export.h>

#include <string>

namespace Kiln {

/// The texts that all descriptors of one component type share.
struct ComponentTexts {
    std::string name;        ///< Registered name.
    std::string libraryPath; ///< "components/" followed by the name.
    std::string category;    ///< The category in which editors list the type.

    /// The texts of that name and category; they live until the process ends. Any thread.
    [[nodiscard]] KILN_OBJECT_SERIALIZATION_EXPORT static const ComponentTexts& of(const std::string& name,
                                                                                   const std::string& category);
};

} // namespace Kiln
