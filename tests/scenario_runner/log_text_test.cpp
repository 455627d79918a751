#include "log_text.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Kiln::ScenarioRunner {
namespace {

const std::string DEPTH = "[5] Nested prefabs depth has exceeded limit. It can be result of recursive references.";
const std::string BACKGROUND_DEPTH = DEPTH + " (backgroundLoad)";

[[nodiscard]] std::string folded(const std::vector<LogLine>& log) {
    return toText(foldDepthMessages(log));
}

TEST(LogText, append_repeatedLine_isCounted) {
    std::vector<LogLine> log;
    append(log, {"a"});
    append(log, {"a", 2});
    append(log, {"b"});
    append(log, {"a"});
    EXPECT_EQ(toText(log), "a (3 times)\nb\na\n");
}

TEST(LogText, foldDepthMessages_bothWordings_areOneLine) {
    EXPECT_EQ(folded({{DEPTH, 2}, {BACKGROUND_DEPTH, 8}, {DEPTH}, {BACKGROUND_DEPTH, 9}}),
              DEPTH + " (3 times; 17 times with \" (backgroundLoad)\")\n");
    EXPECT_EQ(folded({{BACKGROUND_DEPTH}, {DEPTH}}), DEPTH + " (1 time; 1 time with \" (backgroundLoad)\")\n");
}

TEST(LogText, foldDepthMessages_oneWording_isCounted) {
    EXPECT_EQ(folded({{DEPTH}}), DEPTH + "\n");
    EXPECT_EQ(folded({{DEPTH, 2}, {"a"}, {DEPTH}}), DEPTH + " (3 times)\na\n");
    EXPECT_EQ(folded({{BACKGROUND_DEPTH, 2}, {"a"}, {BACKGROUND_DEPTH, 3}}), BACKGROUND_DEPTH + " (5 times)\na\n");
}

TEST(LogText, foldDepthMessages_otherLines_keepTheirOrder) {
    EXPECT_EQ(folded({{"a"}, {DEPTH}, {"b"}, {BACKGROUND_DEPTH}, {"a", 2}}),
              "a\n" + DEPTH + " (1 time; 1 time with \" (backgroundLoad)\")\nb\na (2 times)\n");
}

TEST(LogText, foldDepthMessages_linesOnBothSidesOfAFoldedOne_areCountedTogether) {
    EXPECT_EQ(folded({{DEPTH}, {"a"}, {DEPTH}, {"a"}}), DEPTH + " (2 times)\na (2 times)\n");
}

TEST(LogText, foldDepthMessages_frames_areFoldedSeparately) {
    EXPECT_EQ(folded({{DEPTH}, {"frame 1"}, {DEPTH, 2}, {"frame 2"}, {"a"}, {BACKGROUND_DEPTH}}),
              DEPTH + "\nframe 1\n" + DEPTH + " (2 times)\nframe 2\na\n" + BACKGROUND_DEPTH + "\n");
}

TEST(LogText, foldDepthMessages_similarLines_areKept) {
    const std::vector<LogLine> log{
        {DEPTH + " (somewhere else)"}, {"callback: " + DEPTH}, {DEPTH + " (somewhere else)"}};
    EXPECT_EQ(folded(log), toText(log));
}

} // namespace
} // namespace Kiln::ScenarioRunner
