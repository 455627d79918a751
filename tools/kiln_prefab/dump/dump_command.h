#pragma once

#include <kiln_prefab/command.h>
#include <kiln_prefab/view/prefab_argument.h>
#include <prefab_inspection/composition/prefab_view.h>

#include <string>

namespace Kiln::PrefabTool {

/// Shows the objects of a prefab with their components and property values.
class DumpCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    void show(Terminal& terminal, const PrefabInspection::PrefabView& view,
              const PrefabInspection::PrefabFile& file) const;

    PrefabArgument m_argument;
    bool m_isComposed = false;
    std::string m_format = "text";
};

} // namespace Kiln::PrefabTool
