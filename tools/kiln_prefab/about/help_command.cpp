#include "help_command.h"

#include <kiln_prefab/command_registry.h>
#include <kiln_prefab/reports/rule_text.h>
#include <kiln_prefab/similar_name.h>
#include <kiln_prefab/terminal.h>
#include <prefab_inspection/findings/finding_rules.h>

#include <algorithm>
#include <cctype>
#include <optional>
#include <ostream>
#include <vector>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

[[nodiscard]] std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char character) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    });
    return text;
}

} // namespace

const Command::Description& HelpCommand::description() const {
    static const Description DESCRIPTION{"help",
                                         "Describe the program, a command or a kind of finding.",
                                         {"kiln-prefab help spawn", "kiln-prefab help KP0101"},
                                         true};
    return DESCRIPTION;
}

void HelpCommand::addOptions(CLI::App& app) {
    app.add_option("COMMAND", m_topic, "The command, or the code of a finding, such as KP0101")->type_name("");
}

int HelpCommand::run(Terminal& terminal) {
    if (m_topic.empty()) {
        terminal.output() << m_registry.help();
    } else if (const CommandRegistry::Entry* const entry = m_registry.find(m_topic)) {
        terminal.output() << CommandRegistry::help(*entry);
    } else if (const std::optional<PrefabInspection::FindingCode> code = PrefabInspection::findingCode(m_topic)) {
        terminal.output() << ruleText(PrefabInspection::findingRule(*code));
    } else {
        return reportUnknown(terminal);
    }
    return ExitStatus::SUCCESS;
}

int HelpCommand::reportUnknown(Terminal& terminal) const {
    std::vector<std::string> topics = m_registry.names();
    for (const PrefabInspection::FindingRule& rule : PrefabInspection::findingRules()) {
        topics.push_back(PrefabInspection::codeText(rule.code));
    }
    std::string similar = similarName(m_topic, topics);
    if (similar.empty()) {
        similar = similarName(upperCase(m_topic), topics);
    }
    terminal.reportFailure("'" + m_topic + "' is neither a command nor the code of a finding" +
                           (similar.empty() ? "" : " (did you mean '" + similar + "'?)"));
    terminal.errors() << "Example: " << description().examples.front() << "\nRun kiln-prefab help for a list.\n";
    return ExitStatus::USAGE;
}

} // namespace Kiln::PrefabTool
