#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace Kiln::TestSupport {

struct ProcessResult {
    int exitStatus = -1; ///< Minus the signal's number for a process that a signal ended.
    std::string output;  ///< Its output on stdout, unless that was redirected.
    std::string errors;  ///< Its output on stderr, including a sanitizer's report.

    bool operator==(const ProcessResult&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, const ProcessResult& result) {
        return stream << "exit status " << result.exitStatus << "\nstdout: " << result.output
                      << "\nstderr: " << result.errors;
    }
};

/// The target of a process's stdout.
struct OutputTarget {
    enum class Kind { CAPTURE, FILE, CLOSED };

    Kind kind = Kind::CAPTURE;
    std::string file; ///< For FILE.
};

/// Runs a program to its end, in a working directory, with this process's environment and stdin empty. Throws
/// std::system_error when it can't be started.
[[nodiscard]] ProcessResult runProcess(const std::string& program, const std::vector<std::string>& arguments,
                                       const std::filesystem::path& workingDirectory = ".",
                                       const OutputTarget& target = {});

} // namespace Kiln::TestSupport
