#pragma once

#include "uuid_renaming.h"

#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>

#include <string>

namespace Kiln::PrefabTool {

class ResourceRoots;

/// Gives every object of a prefab a new UUID.
class NewUuidsCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    [[nodiscard]] UuidRenaming rename(Terminal& terminal, const ResourceRoots& roots) const;
    void report(Terminal& terminal, const UuidRenaming& renaming) const;

    CommonOptions m_common;
    std::string m_file;
    std::string m_folder; ///< Empty for no other files.
    std::string m_seed;   ///< Empty for random UUIDs.
    bool m_isDryRun = false;
};

} // namespace Kiln::PrefabTool
