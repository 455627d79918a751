#pragma once

#include <support/process_runner.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Kiln::TestSupport {

/// A command that a page of the documentation shows, and the output that it shows for it.
struct DocumentedCommand {
    std::string line;
    std::string output;
};

/// The commands of the indented blocks of a page that begin with "$ ", each with the lines up to the next command or
/// the end of the block.
[[nodiscard]] std::vector<DocumentedCommand> documentedCommands(const std::filesystem::path& page);

/// Runs a line in a shell that finds the programs of `programDirectory` first.
[[nodiscard]] ProcessResult runInShell(const std::string& line, const std::filesystem::path& programDirectory,
                                       const std::filesystem::path& workingDirectory);

} // namespace Kiln::TestSupport
