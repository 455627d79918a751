#pragma once

#include <array>
#include <build_paths.h>
#include <cstdio>
#include <string>
#include <vector>

#include <sys/wait.h>

namespace Kiln::BoundaryTests {

struct ProgramEnd {
    int status = -1; ///< Exit status; -1 when the program did not exit by itself.
    std::string output;
};

/// Runs a program of the build and collects what it writes to stdout and stderr, a sanitizer's report included.
[[nodiscard]] inline ProgramEnd runProgram(const std::string& name, const std::vector<std::string>& arguments) {
    std::string command = "'" KILN_BUILD_BIN_DIR "/" + name + "'";
    for (const std::string& argument : arguments) {
        command += " '" + argument + "'";
    }
    std::FILE* const pipe = popen((command + " 2>&1").c_str(), "r"); // NOLINT(cert-env33-c): a command of our own
    if (!pipe) {
        return {};
    }
    ProgramEnd end;
    std::array<char, 4096> buffer;
    while (const std::size_t length = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
        end.output.append(buffer.data(), length);
    }
    const int status = pclose(pipe);
    end.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return end;
}

} // namespace Kiln::BoundaryTests
