#pragma once

#include <regex>
#include <sstream>
#include <string>
#include <vector>

/// Reads the help texts of the program.
namespace Kiln::PrefabToolTests {

/// The first groups of all lines that match the pattern from their begin.
[[nodiscard]] inline std::vector<std::string> matchingLines(const std::string& text, const std::string& pattern) {
    const std::regex regex("^" + pattern);
    std::vector<std::string> found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (std::regex_search(line, match, regex)) {
            found.push_back(match[1]);
        }
    }
    return found;
}

/// The part of a help text below a heading, up to the next empty line.
[[nodiscard]] inline std::string sectionOf(const std::string& help, const std::string& heading) {
    const std::string begin = "\n" + heading + ":\n";
    const std::size_t start = help.find(begin);
    if (start == std::string::npos) {
        return {};
    }
    const std::string rest = help.substr(start + begin.size());
    return rest.substr(0, rest.find("\n\n"));
}

/// The commands that a section of the program's help lists.
[[nodiscard]] inline std::vector<std::string> commandNames(const std::string& help, const std::string& heading) {
    return matchingLines(sectionOf(help, heading), "  ([a-z-]+) ");
}

/// The long names of the options that a command's help lists.
[[nodiscard]] inline std::vector<std::string> optionNames(const std::string& help) {
    return matchingLines(sectionOf(help, "Options"), "  (?:-[a-z],)?(--[a-z-]+)");
}

} // namespace Kiln::PrefabToolTests
