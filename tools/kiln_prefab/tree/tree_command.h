#pragma once

#include "tree_writer.h"

#include <kiln_prefab/command.h>
#include <kiln_prefab/view/prefab_argument.h>

#include <cstdint>
#include <string>

namespace Kiln::PrefabTool {

/// Shows the hierarchy of a prefab.
class TreeCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    [[nodiscard]] int show(Terminal& terminal, const PrefabInspection::PrefabView& view,
                           const PrefabInspection::PrefabFile& file) const;
    [[nodiscard]] TreeOptions treeOptions() const;

    PrefabArgument m_argument;
    bool m_isComposed = false;
    bool m_showsComponents = false;
    bool m_showsValues = false;
    bool m_showsUuids = false;
    std::int64_t m_depth = -1; ///< Negative for all levels.
    std::string m_text;        ///< To be found; empty for all objects.
    std::string m_format = "text";
};

} // namespace Kiln::PrefabTool
