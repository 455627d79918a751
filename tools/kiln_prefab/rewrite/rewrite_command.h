#pragma once

#include "file_rewriting.h"

#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>

#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Writes prefab files in canonical form.
class RewriteCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    [[nodiscard]] int rewrite(Terminal& terminal) const;

    /// Returns whether a file is not canonical that should be.
    [[nodiscard]] bool writeResults(Terminal& terminal, const std::vector<RewrittenFile>& files) const;

    CommonOptions m_common;
    std::vector<std::string> m_paths;
    bool m_isInPlace = false;
    bool m_checks = false;
    bool m_showsDiff = false;
    int m_jobs = 0; ///< 0 for one per processor.
};

} // namespace Kiln::PrefabTool
