#pragma once

#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>
#include <prefab_inspection/composition/dependency_graph.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

class ResourceRoots;

/// Shows which prefab files nest which others.
class DepsCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    /// The prefabs that the user has named.
    struct Selection {
        std::vector<std::string> all;     ///< Resource paths of named files and of files in named folders.
        std::vector<std::string> entries; ///< Those that are named themselves.
        std::string reverse;              ///< Resource path of the --reverse option; empty without it.
    };

    [[nodiscard]] Selection select(Terminal& terminal, const ResourceRoots& roots) const;
    [[nodiscard]] int show(Terminal& terminal, const ResourceRoots& roots, const Selection& selection) const;
    [[nodiscard]] int showReverse(Terminal& terminal, const PrefabInspection::DependencyGraph& graph,
                                  const std::string& path) const;
    [[nodiscard]] int showCycles(Terminal& terminal, const PrefabInspection::DependencyGraph& graph) const;
    void showUnused(Terminal& terminal, const PrefabInspection::DependencyGraph& graph,
                    const Selection& selection) const;
    void showFiles(Terminal& terminal, const PrefabInspection::DependencyGraph& graph,
                   const std::vector<std::size_t>& files) const;
    void showGraph(Terminal& terminal, const ResourceRoots& roots,
                   const PrefabInspection::DependencyGraph& graph) const;

    CommonOptions m_common;
    std::vector<std::string> m_paths;
    std::string m_reverse;
    bool m_showsCycles = false;
    bool m_showsRoots = false;
    bool m_showsUnused = false;
    std::string m_format = "text";
};

} // namespace Kiln::PrefabTool
