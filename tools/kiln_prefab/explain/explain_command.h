#pragma once

#include "explanation.h"

#include <kiln_prefab/command.h>
#include <kiln_prefab/view/prefab_argument.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Shows where an object of an instance and its values come from.
class ExplainCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    /// Composition::NONE, after reporting it, if the text means none or several objects.

    /// The components and values that the second argument means; none without it. Throws CommandError if the object has
    /// none of that name.
    [[nodiscard]] std::vector<ExplainedComponent> findValues(const PrefabInspection::Composition& composition,
                                                             std::size_t object) const;

    PrefabArgument m_argument;
    std::string m_object;
    std::string m_value; ///< COMPONENT or COMPONENT.PROPERTY; empty for the object alone.
    std::string m_format = "text";
};

} // namespace Kiln::PrefabTool
