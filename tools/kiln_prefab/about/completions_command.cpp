#include "completions_command.h"

#include "completion_scripts.h"

#include <kiln_prefab/common_options.h>
#include <kiln_prefab/terminal.h>

#include <ostream>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

const Command::Description& CompletionsCommand::description() const {
    static const Description DESCRIPTION{"completions",
                                         "Print completions for a shell.",
                                         {"source <(kiln-prefab completions bash)",
                                          "kiln-prefab completions fish > ~/.config/fish/completions/kiln-prefab.fish"},
                                         true};
    return DESCRIPTION;
}

void CompletionsCommand::addOptions(CLI::App& app) {
    addChoice(app, "SHELL", m_shell, {"bash", "zsh", "fish"}, "The shell")->required();
}

int CompletionsCommand::run(Terminal& terminal) {
    terminal.output() << (m_shell == "bash"  ? bashCompletions(m_registry)
                          : m_shell == "zsh" ? zshCompletions(m_registry)
                                             : fishCompletions(m_registry));
    return ExitStatus::SUCCESS;
}

} // namespace Kiln::PrefabTool
