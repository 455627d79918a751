#include "line_text.h"
#include "options.h"
#include "spawn.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>

namespace {

using namespace Kiln::PrefabTool;

[[nodiscard]] SpawnResult run(int argc, const char* const* argv) {
    const CommandLine commandLine = parseCommandLine(argc, argv);
    if (!commandLine.spawn) {
        return {commandLine.exitStatus};
    }
    return spawn(*commandLine.spawn, std::cout, std::cerr);
}

[[nodiscard]] SpawnResult runGuarded(int argc, const char* const* argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << PROGRAM_PREFIX << error.what() << '\n';
    } catch (...) {
        std::cerr << PROGRAM_PREFIX << "unknown exception\n";
    }
    return {ExitStatus::FINDINGS};
}

} // namespace

int main(int argc, char** argv) {
    // A closed pipe is reported as a failed write instead of ending the process.
    std::signal(SIGPIPE, SIG_IGN);
    SpawnResult result = runGuarded(argc, argv);
    std::cout.flush();
    if (!std::cout) {
        std::cerr << PROGRAM_PREFIX << "writing to standard output failed\n";
        if (result.exitStatus == ExitStatus::SUCCESS) {
            result.exitStatus = ExitStatus::FINDINGS;
        }
    }
    if (result.isStuck) {
        std::cerr.flush();
        std::_Exit(result.exitStatus);
    }
    return result.exitStatus;
}
