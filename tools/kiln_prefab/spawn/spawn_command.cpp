#include "spawn_command.h"

#include "spawner.h"

#include <kiln_prefab/option_checks.h>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

constexpr std::int64_t MAX_INSTANCES = 1'000'000'000;
constexpr std::int64_t MAX_BUDGET = 1'000'000'000; // In microseconds.
constexpr double MAX_TIMEOUT = 1e9;                // In seconds; much larger values do not fit into a duration.

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

} // namespace

const Command::Description& SpawnCommand::description() const {
    static const Description DESCRIPTION{
        "spawn",
        "Load prefabs into a world and print the game objects that they create.",
        {"kiln-prefab spawn --root content harbour.prefab",
         "kiln-prefab spawn --load ./libgame_components.so --format json --instances 10 props/lamp.prefab"}};
    return DESCRIPTION;
}

void SpawnCommand::addOptions(CLI::App& app) {
    app.add_option("PREFAB", m_options.prefabs, "Resource paths of the prefabs")
        ->required()
        ->check(notEmpty())
        ->type_name("");
    m_options.common.addTo(app);
    app.add_option("--instances", m_instances, "Create N instances of each prefab (default: 1)")
        ->check(CLI::Range(std::int64_t{1}, MAX_INSTANCES))
        ->type_name("N");
    app.add_option("--instance-uuid", m_instanceUuid, "Instance UUID of every instance (default: a new UUID each time)")
        ->check(UUID)
        ->type_name("UUID");
    app.add_option("--timeout", m_timeout, "Fail an instance that is not loaded within this time (default: 30)")
        ->check(SECONDS)
        ->type_name("SECONDS");
    app.add_flag("--under-inactive-parent", m_options.isUnderInactiveParent,
                 "Load each instance under an inactive parent object");
    app.add_flag("--dump-pools", m_options.dumpsPools,
                 "After the instances of a prefab, print the component pools of its world");
    app.add_option("--trace", m_options.traceFile, "Load in steps, and write a trace of the steps to FILE")
        ->check(notEmpty())
        ->type_name("FILE");
    app.add_option("--budget", m_budget, "Load in steps that take at most this time per frame (default: 4000)")
        ->check(CLI::Range(std::int64_t{0}, MAX_BUDGET))
        ->type_name("MICROSECONDS");
    app.add_flag("--progress", m_options.showsProgress, "Load in steps, and show how far each instance is")
        ->excludes(app.get_option("--quiet"));
    CLI::Option* const format =
        addChoice(app, "--format", m_format, {"text", "json"}, "Print a tree, or one line of JSON per instance");
    app.add_flag("--json", m_options.isJson, "The same as --format json")->excludes(format);
    app.add_flag("--verbose", m_options.isVerbose, "Also print informational messages and notes")
        ->excludes(app.get_option("--quiet"));
}

SpawnOptions SpawnCommand::options() const {
    SpawnOptions options = m_options;
    options.instances = static_cast<std::size_t>(m_instances);
    options.instanceUuid = Uuid::fromString(m_instanceUuid);
    options.timeout =
        std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(m_timeout));
    if (m_budget) {
        options.budget = std::chrono::microseconds(*m_budget);
    }
    options.isJson = options.isJson || m_format == "json";
    return options;
}

int SpawnCommand::run(Terminal& terminal) {
    const SpawnResult result = spawn(options(), terminal);
    m_isStuck = result.isStuck;
    return result.exitStatus;
}

} // namespace Kiln::PrefabTool
