#pragma once

#include <kiln_prefab/command.h>

#include <string>

namespace Kiln::PrefabTool {

class CommandRegistry;

/// Describes the program, a command or a kind of finding.
class HelpCommand final : public Command {
public:
    explicit HelpCommand(const CommandRegistry& registry) : m_registry(registry) {}

    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    [[nodiscard]] int reportUnknown(Terminal& terminal) const;

    const CommandRegistry& m_registry;
    std::string m_topic;
};

} // namespace Kiln::PrefabTool
