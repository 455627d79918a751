#pragma once

#include <kiln_prefab/check/command_error.h>
#include <resource/resource_pack.h>

#include <string>

namespace Kiln::PrefabTool {

/// Opens a pack. Throws CommandError if the file is no sound pack.
[[nodiscard]] inline SmartPointer<const ResourcePack> openedPack(const std::string& name) {
    std::string problem;
    SmartPointer<const ResourcePack> pack = ResourcePack::open(name, problem);
    if (!pack) {
        throw CommandError(("Cannot open the pack '" + name).append("': ").append(problem));
    }
    return pack;
}

} // namespace Kiln::PrefabTool
