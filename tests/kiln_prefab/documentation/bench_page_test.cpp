#include "page_fixture.h"

#include <regex>
#include <sstream>

namespace Kiln::PrefabToolTests {
namespace {

using TestSupport::DocumentedCommand;
using TestSupport::ProcessResult;

/// The lines of an output. Below the heading of the table, each measured value with its unit is replaced by '#', and
/// the width of the columns by one space.
[[nodiscard]] std::vector<std::string> linesWithoutMeasuredValues(const std::string& output) {
    constexpr std::size_t HEADING_LINES = 2;
    static const std::regex value("[0-9]+(\\.[0-9]+)?( ?[kMG]?B| ?[num]?s| [kMG])?(?= |,|$)");
    static const std::regex spaces(" +");
    std::vector<std::string> lines;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) {
        if (lines.size() >= HEADING_LINES) {
            line = std::regex_replace(std::regex_replace(line, value, "#"), spaces, " ");
            line.erase(line.find_last_not_of(' ') + 1);
        }
        lines.push_back(line);
    }
    return lines;
}

class BenchPage : public PageFixture {};

TEST_F(BenchPage, example_printsWhatThePageShowsExceptForMeasuredValues) {
    copyHarbour("samples");
    linkLibrary("libharbour_components.so");
    const std::vector<DocumentedCommand> commands = commandsOf("bench.md");
    ASSERT_EQ(commands.size(), 1U);
    const ProcessResult result = runLine(commands[0].line);
    EXPECT_EQ(linesWithoutMeasuredValues(result.output), linesWithoutMeasuredValues(commands[0].output)) << result;
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.exitStatus, 0);
}

} // namespace
} // namespace Kiln::PrefabToolTests
