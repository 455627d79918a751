#include <support/documented_commands.h>

#include <fstream>
#include <string_view>

namespace Kiln::TestSupport {

std::vector<DocumentedCommand> documentedCommands(const std::filesystem::path& page) {
    constexpr std::string_view INDENTATION = "    ";
    constexpr std::string_view PROMPT = "$ ";
    std::vector<DocumentedCommand> commands;
    std::ifstream stream(page);
    bool isInExample = false;
    for (std::string line; std::getline(stream, line);) {
        if (!line.starts_with(INDENTATION)) {
            isInExample = false;
            continue;
        }
        line.erase(0, INDENTATION.size());
        if (line.starts_with(PROMPT)) {
            commands.push_back({line.substr(PROMPT.size()), {}});
            isInExample = true;
        } else if (isInExample) {
            commands.back().output.append(line).append("\n");
        }
    }
    return commands;
}

ProcessResult runInShell(const std::string& line, const std::filesystem::path& programDirectory,
                         const std::filesystem::path& workingDirectory) {
    std::string script = "PATH='" + programDirectory.string();
    script.append("':$PATH; ").append(line);
    return runProcess("/bin/sh", {"-c", script}, workingDirectory);
}

} // namespace Kiln::TestSupport
