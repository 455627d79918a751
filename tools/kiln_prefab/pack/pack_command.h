#pragma once

#include <kiln_prefab/check/resource_roots.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>

#include <set>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Makes packs, and shows what packs contain.
class PackCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    void addModeOptions(CLI::App& app);
    [[nodiscard]] int runMode(Terminal& terminal) const;
    [[nodiscard]] int pack(Terminal& terminal) const;
    void refuseInputAsOutput(const std::set<std::string>& paths) const;
    [[nodiscard]] int writePack(Terminal& terminal, const std::vector<std::string>& paths) const;
    [[nodiscard]] bool checkFiles(Terminal& terminal, const ResourceRoots& roots, const Targets& targets) const;
    [[nodiscard]] int list(Terminal& terminal) const;
    [[nodiscard]] int verify(Terminal& terminal) const;
    [[nodiscard]] int compare(Terminal& terminal) const;
    [[nodiscard]] const std::string& onlyPath() const;

    CommonOptions m_common;
    std::vector<std::string> m_paths;
    std::string m_output;
    bool m_isCompressed = false;
    bool m_keepsPositions = false;
    bool m_updates = false;
    bool m_isForced = false;
    bool m_lists = false;
    bool m_verifies = false;
    bool m_compares = false;
    int m_jobs = 0; ///< 0 for one per processor.
};

} // namespace Kiln::PrefabTool
