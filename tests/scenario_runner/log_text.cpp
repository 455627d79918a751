#include "log_text.h"

#include <cstddef>
#include <optional>
#include <utility>

namespace Kiln::ScenarioRunner {

namespace {

const std::string DEPTH_MESSAGE =
    "[5] Nested prefabs depth has exceeded limit. It can be result of recursive references.";
const std::string BACKGROUND_SUFFIX = " (backgroundLoad)";

[[nodiscard]] std::string times(int count) {
    return std::to_string(count) + (count == 1 ? " time" : " times");
}

/// The depth messages of one section.
class DepthMessages {
public:
    /// Whether the line is a depth message; counts it if so.
    [[nodiscard]] bool add(const LogLine& line) {
        if (line.text == DEPTH_MESSAGE) {
            m_count += line.count;
            return true;
        }
        if (line.text == DEPTH_MESSAGE + BACKGROUND_SUFFIX) {
            m_backgroundCount += line.count;
            return true;
        }
        return false;
    }

    [[nodiscard]] LogLine folded() const {
        if (m_count == 0) {
            return {DEPTH_MESSAGE + BACKGROUND_SUFFIX, m_backgroundCount};
        }
        if (m_backgroundCount == 0) {
            return {DEPTH_MESSAGE, m_count};
        }
        return {DEPTH_MESSAGE + " (" + times(m_count) + "; " + times(m_backgroundCount) + " with \"" +
                BACKGROUND_SUFFIX + "\")"};
    }

private:
    int m_count = 0;
    int m_backgroundCount = 0;
};

} // namespace

void append(std::vector<LogLine>& log, LogLine line) {
    if (!log.empty() && log.back().text == line.text) {
        log.back().count += line.count;
    } else {
        log.push_back(std::move(line));
    }
}

std::vector<LogLine> foldDepthMessages(const std::vector<LogLine>& log) {
    std::vector<LogLine> result;
    DepthMessages messages;
    std::optional<std::size_t> foldIndex; // Of the section's folded line in `result`.
    for (const LogLine& line : log) {
        if (line.text.starts_with("frame ")) {
            messages = {};
            foldIndex.reset();
        }
        if (!messages.add(line)) {
            append(result, line);
            continue;
        }
        if (!foldIndex) {
            foldIndex = result.size();
            result.emplace_back();
        }
        result[*foldIndex] = messages.folded();
    }
    return result;
}

std::string toText(const std::vector<LogLine>& log) {
    std::string text;
    for (const LogLine& line : log) {
        text += line.text + (line.count > 1 ? " (" + times(line.count) + ")\n" : "\n");
    }
    return text;
}

} // namespace Kiln::ScenarioRunner
