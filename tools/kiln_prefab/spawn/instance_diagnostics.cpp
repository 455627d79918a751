#include "instance_diagnostics.h"

#include "walk_messages.h"
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/terminal.h>

#include <vector>

namespace Kiln::PrefabTool {

void InstanceDiagnostics::reportInstance(const InstanceRecord& record) {
    std::vector<std::string> reasons;
    std::size_t walkDepthCount = 0;
    for (const LogRecord::Message& message : record.log.messages) {
        const bool isOfWalk = isDepthMessageOfWalk(message);
        if (isOfWalk && record.isCreated()) {
            walkDepthCount += message.count;
            continue;
        }
        writeMessage(message);
        if (message.isError() && !isOfWalk) {
            reasons.push_back(lineOf(message.text));
        }
    }
    if (walkDepthCount > 0 && isVerbose()) {
        terminal().note("the depth limit of the caching walk was reached " + counted(walkDepthCount, "time"));
    }
    if (record.hasFailures()) {
        for (const Tessel::Streaming::LoadFailure& failure : *record.failures) {
            const std::string text = failure.text();
            writeMessage({LogSeverity::ERROR, text, 1, 1});
            reasons.push_back(lineOf(text));
        }
    }
    if (!record.problem.empty()) {
        reasons.push_back(record.problem);
    }
    if (!reasons.empty()) {
        reportFailure(record.prefab + (record.isCreated() ? ": errors while loading" : ": not created"), reasons);
    }
}

void InstanceDiagnostics::reportSkippedComponents(const std::map<std::string, std::size_t>& countsByType) {
    for (const auto& [type, count] : countsByType) {
        terminal().note("skipped " + counted(count, "component") + " of unknown type '" + type + "'");
    }
}

} // namespace Kiln::PrefabTool
