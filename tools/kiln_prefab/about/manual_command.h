#pragma once

#include <kiln_prefab/command.h>

#include <string>

namespace Kiln::PrefabTool {

class CommandRegistry;

/// Prints manual pages, or writes all of them into a directory.
class ManualCommand final : public Command {
public:
    explicit ManualCommand(const CommandRegistry& registry) : m_registry(registry) {}

    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    [[nodiscard]] int writePages(Terminal& terminal) const;

    const CommandRegistry& m_registry;
    std::string m_command;
    std::string m_directory;
};

} // namespace Kiln::PrefabTool
