#include "command_line.h"
#include "command_registry.h"
#include "line_text.h"
#include "standard_output.h"
#include "terminal.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <tuple>

namespace {

using namespace Kiln::PrefabTool;

struct Outcome {
    int exitStatus = ExitStatus::SUCCESS;
    bool isStuck = false; ///< As Command::isStuck().
};

[[nodiscard]] Outcome run(int argc, const char* const* argv) {
    CommandRegistry registry;
    Terminal terminal(std::cout, std::cerr);
    const CommandLine commandLine = parseCommandLine(registry, argc, argv, terminal);
    if (!commandLine.command) {
        return {commandLine.exitStatus};
    }
    const int exitStatus = commandLine.command->run(terminal);
    terminal.clearProgress();
    return {exitStatus, commandLine.command->isStuck()};
}

[[nodiscard]] Outcome runGuarded(int argc, const char* const* argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << PROGRAM_PREFIX << printable(error.what()) << '\n';
    } catch (...) {
        std::cerr << PROGRAM_PREFIX << "unknown exception\n";
    }
    return {ExitStatus::FINDINGS};
}

} // namespace

int main(int argc, char** argv) {
    // A closed pipe makes a write fail, so that a broken pipe at stderr or of a component library does not end the
    // process. StandardOutput ends it when nobody reads the results.
    std::ignore = std::signal(SIGPIPE, SIG_IGN);
    const StandardOutput output;
    Outcome outcome = runGuarded(argc, argv);
    std::cout.flush();
    if (!std::cout) {
        std::cerr << PROGRAM_PREFIX << "writing to standard output failed\n";
        if (outcome.exitStatus == ExitStatus::SUCCESS) {
            outcome.exitStatus = ExitStatus::FINDINGS;
        }
    }
    if (outcome.isStuck) {
        std::cerr.flush();
        std::_Exit(outcome.exitStatus);
    }
    return outcome.exitStatus;
}
