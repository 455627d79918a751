#include "options.h"

#include "line_text.h"

#include <cmath>
#include <cstdint>
#include <iostream>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

constexpr std::int64_t MAX_INSTANCES = 1'000'000'000;
constexpr double MAX_TIMEOUT = 1e9; // In seconds; much larger values do not fit into a duration.

/// Option values as CLI11 stores them, before they are converted to SpawnOptions.
struct RawOptions {
    SpawnOptions spawn;
    std::int64_t instances = 1;
    double timeout = 30;
    std::string instanceUuid;
};

const CLI::Validator NOT_EMPTY([](std::string& value) { return value.empty() ? "the name is empty" : std::string(); },
                               "", "not empty");

const CLI::Validator UUID(
    [](std::string& value) {
        return Uuid::fromString(value) ? std::string()
                                       : "'" + value + "' is not a UUID (8-4-4-4-12 hexadecimal digits)";
    },
    "", "UUID");

const CLI::Validator SECONDS(
    [](std::string& value) {
        double seconds = 0;
        const bool isValid = CLI::detail::lexical_cast(value, seconds) && seconds > 0 && seconds <= MAX_TIMEOUT;
        return isValid ? std::string() : "'" + value + "' is not a number of seconds above 0";
    },
    "", "seconds");

void describeSpawn(CLI::App& command, RawOptions& raw) {
    SpawnOptions& options = raw.spawn;
    command.add_option("PREFAB", options.prefabs, "Resource paths of the prefabs")
        ->required()
        ->check(NOT_EMPTY)
        ->type_name("");
    command
        .add_option("--root", options.roots,
                    "Look up resource paths in DIR; may be repeated, the first match wins (default: "
                    "the current directory)")
        ->allow_extra_args(false)
        ->check(CLI::ExistingDirectory)
        ->type_name("DIR");
    command
        .add_option("--load", options.libraries, "Load the component library LIB before the prefabs; may be repeated")
        ->allow_extra_args(false)
        ->check(NOT_EMPTY)
        ->type_name("LIB");
    command.add_option("--instances", raw.instances, "Create N instances of each prefab (default: 1)")
        ->check(CLI::Range(std::int64_t{1}, MAX_INSTANCES))
        ->type_name("N");
    command
        .add_option("--instance-uuid", raw.instanceUuid,
                    "Instance UUID of every instance (default: a new UUID each time)")
        ->check(UUID)
        ->type_name("UUID");
    command.add_option("--timeout", raw.timeout, "Fail an instance that is not loaded within this time (default: 30)")
        ->check(SECONDS)
        ->type_name("SECONDS");
    command.add_flag("--under-inactive-parent", options.isUnderInactiveParent,
                     "Load each instance under an inactive parent object");
    command.add_flag("--dump-pools", options.dumpsPools,
                     "After the instances of a prefab, print the component pools of its world");
    command.add_flag("--json", options.isJson, "Print one line of JSON per instance instead of text");
    command.add_flag("--verbose", options.isVerbose, "Also print informational messages and notes");
}

[[nodiscard]] SpawnOptions finish(RawOptions raw) {
    SpawnOptions options = std::move(raw.spawn);
    options.instances = static_cast<std::size_t>(raw.instances);
    options.instanceUuid = Uuid::fromString(raw.instanceUuid);
    options.timeout =
        std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(raw.timeout));
    return options;
}

[[nodiscard]] CommandLine usageError(const std::string& problem) {
    std::cerr << PROGRAM_PREFIX << problem << "\nRun kiln-prefab with --help for usage.\n";
    return {std::nullopt, ExitStatus::USAGE};
}

} // namespace

CommandLine parseCommandLine(int argc, const char* const* argv) {
    CLI::App app("Loads prefab files and reports what they contain.", "kiln-prefab");
    RawOptions raw;
    CLI::App* const spawn =
        app.add_subcommand("spawn", "Load prefabs into a world and print the game objects that they create.");
    describeSpawn(*spawn, raw);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return {};
    } catch (const CLI::ParseError& error) {
        return usageError(error.what());
    }
    // Checked here because CLI11 would report this instead of a misspelt subcommand.
    if (!spawn->parsed()) {
        return usageError("A subcommand is required");
    }
    return {finish(std::move(raw)), ExitStatus::SUCCESS};
}

} // namespace Kiln::PrefabTool
