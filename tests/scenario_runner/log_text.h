#pragma once

#include <string>
#include <vector>

namespace Kiln::ScenarioRunner {

/// A line of a scenario's log, and how many times in a row it was logged.
struct LogLine {
    std::string text;
    int count = 1;
};

/// Adds a line at the end; counts it if it equals the last one.
void append(std::vector<LogLine>& log, LogLine line);

/// Folds the messages about the depth limit. Every load by path logs them, because the root of a file refers to the
/// file itself. In each section, which a line "frame <n>" starts, all of them become one line at the position of the
/// first one, with the counts of both wordings. The order of the other lines stays.
[[nodiscard]] std::vector<LogLine> foldDepthMessages(const std::vector<LogLine>& log);

/// The text of a log baseline: one line each, with " (<n> times)" after repeated ones.
[[nodiscard]] std::string toText(const std::vector<LogLine>& log);

} // namespace Kiln::ScenarioRunner
