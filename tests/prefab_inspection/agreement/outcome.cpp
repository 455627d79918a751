#include "outcome.h"

#include <core/printable_text.h>
#include <prefab_inspection/checking/checker.h>
#include <prefab_inspection/findings/finding_rules.h>

#include <kiln_prefab/log_collector.h>
#include <kiln_prefab/spawn/loading_session.h>

#include <chrono>
#include <cstddef>

namespace Kiln::AgreementTests {

namespace {

constexpr std::string_view DEPTH_MESSAGE =
    "Nested prefabs depth has exceeded limit. It can be result of recursive references.";

/// Whether it is one of the messages about the depth limit that the walks log for every prefab.
[[nodiscard]] bool isDepthMessageOfWalk(const PrefabTool::LogRecord::Message& message) {
    return message.text.starts_with(DEPTH_MESSAGE) && message.mainThreadCount == 0;
}

void addMessages(const PrefabTool::LogRecord& log, Outcome& outcome) {
    for (const PrefabTool::LogRecord::Message& message : log.messages) {
        if (!isDepthMessageOfWalk(message)) {
            (message.isError() ? outcome.errors : outcome.others).push_back(message.text);
        }
    }
}

void describe(const char* title, const Outcome& outcome, std::string& text) {
    text += std::string(title) + (outcome.errors.empty() ? ": sound\n" : ": faulty\n");
    for (const std::string& error : outcome.errors) {
        text += "  error: " + printableText(error) + "\n";
    }
    for (const std::string& other : outcome.others) {
        text += "  other: " + printableText(other) + "\n";
    }
}

} // namespace

Outcome spawnOutcome(const std::string& path) {
    Outcome outcome;
    PrefabTool::LogCollector log;
    {
        PrefabTool::LoadingSession session({path, std::chrono::seconds(60), false}, log);
        const PrefabTool::InstanceRecord record = session.load(Uuid(0x5ea50, 0x10ad));
        addMessages(record.log, outcome);
        if (!record.problem.empty()) {
            outcome.errors.push_back("problem: " + record.problem);
        }
        if (!record.isCreated()) {
            outcome.errors.emplace_back("not created");
        }
    }
    addMessages(log.take(), outcome); // Of the destruction of the world.
    return outcome;
}

Outcome checkOutcome(const std::string& path) {
    Outcome outcome;
    PrefabInspection::CheckOptions options;
    options.threads = 1;
    for (const PrefabInspection::Finding& finding : PrefabInspection::checkPrefabs({path}, options).findings) {
        std::string text = finding.file + ":" + std::to_string(finding.range.line) + ":" +
                           std::to_string(finding.range.column) + ": " + PrefabInspection::codeText(finding.code) +
                           " " + finding.message;
        const bool isError = finding.severity == PrefabInspection::Severity::ERROR;
        (isError ? outcome.errors : outcome.others).push_back(std::move(text));
    }
    return outcome;
}

std::string comparison(const Outcome& spawned, const Outcome& checked) {
    std::string text;
    describe("spawn", spawned, text);
    describe("check", checked, text);
    return text;
}

} // namespace Kiln::AgreementTests
