#include "manual_command.h"

#include "manual_pages.h"

#include <kiln_prefab/command_registry.h>
#include <kiln_prefab/similar_name.h>
#include <kiln_prefab/terminal.h>

#include <filesystem>
#include <fstream>
#include <ostream>
#include <system_error>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

const Command::Description& ManualCommand::description() const {
    static const Description DESCRIPTION{"manual",
                                         "Print a manual page, of the program or of a command.",
                                         {"kiln-prefab manual spawn | man -l -", "kiln-prefab manual --write-to man1"},
                                         true};
    return DESCRIPTION;
}

void ManualCommand::addOptions(CLI::App& app) {
    CLI::Option* const command =
        app.add_option("COMMAND", m_command, "The command (default: the program)")->type_name("");
    app.add_option("--write-to", m_directory, "Write the pages of the program and of all commands as files into DIR")
        ->type_name("DIR")
        ->excludes(command);
}

int ManualCommand::run(Terminal& terminal) {
    if (!m_directory.empty()) {
        return writePages(terminal);
    }
    if (m_command.empty()) {
        terminal.output() << manualPage(m_registry);
        return ExitStatus::SUCCESS;
    }
    const CommandRegistry::Entry* const entry = m_registry.find(m_command);
    if (!entry) {
        const std::string similar = similarName(m_command, m_registry.names());
        terminal.reportFailure("'" + m_command + "' is no command" +
                               (similar.empty() ? "" : " (did you mean '" + similar + "'?)"));
        terminal.errors() << "Example: " << description().examples.front() << "\nRun kiln-prefab help for a list.\n";
        return ExitStatus::USAGE;
    }
    terminal.output() << manualPage(*entry);
    return ExitStatus::SUCCESS;
}

int ManualCommand::writePages(Terminal& terminal) const {
    const auto isWritten = [&](const std::string& name, const std::string& text) {
        const std::string file = m_directory + "/" + name + ".1";
        std::ofstream stream(file, std::ios::binary);
        stream << text;
        stream.close();
        if (!stream) {
            terminal.reportFailure("writing '" + file + "' failed");
        }
        return static_cast<bool>(stream);
    };
    std::error_code error; // Writing the files reports a folder that can't be made.
    std::filesystem::create_directories(m_directory, error);
    bool areWritten = isWritten("kiln-prefab", manualPage(m_registry));
    for (const CommandRegistry::Entry& entry : m_registry.entries()) {
        areWritten =
            isWritten("kiln-prefab-" + std::string(entry.command->description().name), manualPage(entry)) && areWritten;
    }
    return areWritten ? ExitStatus::SUCCESS : ExitStatus::FINDINGS;
}

} // namespace Kiln::PrefabTool
