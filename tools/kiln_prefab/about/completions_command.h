#pragma once

#include <kiln_prefab/command.h>

#include <string>

namespace Kiln::PrefabTool {

class CommandRegistry;

/// Prints completions for a shell.
class CompletionsCommand final : public Command {
public:
    explicit CompletionsCommand(const CommandRegistry& registry) : m_registry(registry) {}

    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    const CommandRegistry& m_registry;
    std::string m_shell;
};

} // namespace Kiln::PrefabTool
