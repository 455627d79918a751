#include "command_line.h"

#include "command_registry.h"
#include "similar_name.h"
#include "terminal.h"

#include <tessel_foundation/version.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

using Entry = CommandRegistry::Entry;

constexpr std::string_view GENERAL_EXAMPLE = "kiln-prefab help";

/// Reports what is wrong with the command line, an example of a right one, and where to read more.
[[nodiscard]] CommandLine usageError(Terminal& terminal, const std::string& problem, const Entry* entry) {
    terminal.reportFailure(problem);
    std::ostream& errors = terminal.errors();
    if (entry) {
        const Command::Description& description = entry->command->description();
        errors << "Example: " << description.examples.front() << "\nRun kiln-prefab " << description.name
               << " --help for usage.\n";
    } else {
        errors << "Example: " << GENERAL_EXAMPLE << "\nRun kiln-prefab with --help for usage.\n";
    }
    return {nullptr, entry ? entry->command->failureStatus() : ExitStatus::USAGE};
}

[[nodiscard]] const Entry* parsedEntry(const CommandRegistry& registry) {
    const auto isParsed = [](const Entry& entry) { return entry.app->parsed(); };
    const auto entry = std::find_if(registry.entries().begin(), registry.entries().end(), isParsed);
    return entry == registry.entries().end() ? nullptr : &*entry;
}

/// The long names of the options, with "--".
[[nodiscard]] std::vector<std::string> optionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* const option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

/// What is wrong with an argument that the command does not know.
[[nodiscard]] std::string describeExtra(const CommandRegistry& registry, const Entry* entry,
                                        const std::string& argument) {
    const bool isOption = argument.starts_with('-');
    const std::string name = argument.substr(0, isOption ? argument.find('=') : std::string::npos);
    const std::string similar = isOption ? similarName(name, optionNames(entry ? *entry->app : registry.app()))
                                         : similarName(name, entry ? std::vector<std::string>{} : registry.names());
    return "The following argument was not expected: " + argument +
           (similar.empty() ? "" : " (did you mean '" + similar + "'?)");
}

/// The first argument that nothing has taken: an option if there is one, because other arguments may be its values.
[[nodiscard]] std::string firstExtra(const CommandRegistry& registry) {
    const std::vector<std::string> extras = registry.app().remaining(true);
    const auto option = std::find_if(extras.begin(), extras.end(), [](const std::string& extra) {
        return extra.size() > 1 && extra.front() == '-' && extra != "--";
    });
    if (option != extras.end()) {
        return *option;
    }
    return extras.empty() ? std::string() : extras.front();
}

} // namespace

CommandLine parseCommandLine(CommandRegistry& registry, int argc, const char* const* argv, Terminal& terminal) {
    CLI::App& app = registry.app();
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        terminal.output() << app.help();
        return {};
    } catch (const CLI::CallForVersion&) {
        terminal.output() << "kiln-prefab " << KILN_VERSION_STRING << '\n';
        return {};
    } catch (const CLI::ParseError& error) {
        const Entry* const entry = parsedEntry(registry);
        const std::string extra = firstExtra(registry);
        const bool isAboutExtra =
            error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError) || extra.starts_with('-');
        return usageError(terminal,
                          isAboutExtra && !extra.empty() ? describeExtra(registry, entry, extra) : error.what(), entry);
    }
    const Entry* const entry = parsedEntry(registry);
    // Checked here because CLI11 would report this instead of a misspelt subcommand.
    if (!entry) {
        return usageError(terminal, "A subcommand is required", nullptr);
    }
    return {entry->command.get()};
}

} // namespace Kiln::PrefabTool
