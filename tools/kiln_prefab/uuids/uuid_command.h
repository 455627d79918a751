#pragma once

#include <kiln_prefab/command.h>
#include <kiln_prefab/view/prefab_argument.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Makes and combines UUIDs, and shows those of an object.
class UuidCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    [[nodiscard]] int combine(Terminal& terminal) const;
    [[nodiscard]] int generate(Terminal& terminal) const;
    [[nodiscard]] int showPath(Terminal& terminal);

    std::string m_action;
    std::vector<std::string> m_values;
    std::int64_t m_count = 1;
    PrefabArgument m_argument;
};

} // namespace Kiln::PrefabTool
