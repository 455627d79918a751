#include "command_registry.h"

#include "commands.h"
#include "help_formatter.h"

#include <tessel_foundation/version.h>

#include <algorithm>
#include <utility>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

[[nodiscard]] std::string examplesText(const std::vector<std::string_view>& examples) {
    std::string text = "Examples:";
    for (const std::string_view example : examples) {
        text += "\n  ";
        text += example;
    }
    return text;
}

} // namespace

CommandRegistry::CommandRegistry()
    : m_app(std::make_unique<CLI::App>("Finds problems in prefab files and shows what the files contain.",
                                       "kiln-prefab")) {
    m_app->formatter(std::make_shared<HelpFormatter>());
    m_app->require_subcommand(0, 1); // Otherwise a later argument that is the name of a command would begin it.
    m_app->set_version_flag("--version", KILN_VERSION_STRING, "Print the version and exit");
    for (std::unique_ptr<Command>& command : makeCommands(*this)) {
        const Command::Description& description = command->description();
        CLI::App* const app = m_app->add_subcommand(std::string(description.name), std::string(description.summary));
        app->group(description.isAboutProgram ? "About the program" : "Commands");
        app->footer(examplesText(description.examples));
        command->addOptions(*app);
        m_entries.push_back({std::move(command), app});
    }
}

CommandRegistry::~CommandRegistry() = default;

const CommandRegistry::Entry* CommandRegistry::find(std::string_view name) const {
    const auto entry = std::find_if(m_entries.begin(), m_entries.end(), [name](const Entry& candidate) {
        return candidate.command->description().name == name;
    });
    return entry == m_entries.end() ? nullptr : &*entry;
}

std::vector<std::string> CommandRegistry::names() const {
    std::vector<std::string> names;
    for (const Entry& entry : m_entries) {
        names.emplace_back(entry.command->description().name);
    }
    return names;
}

// App::help() is not called here, because it describes the subcommand if one was parsed.
std::string CommandRegistry::help() const {
    return m_app->get_formatter()->make_help(m_app.get(), m_app->get_name(), CLI::AppFormatMode::Normal);
}

std::string CommandRegistry::help(const Entry& entry) {
    return entry.app->help(entry.app->get_parent()->get_name());
}

} // namespace Kiln::PrefabTool
