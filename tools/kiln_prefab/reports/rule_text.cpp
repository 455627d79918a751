#include <kiln_prefab/reports/rule_text.h>

#include <kiln_prefab/reports/text_columns.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace Kiln::PrefabTool {

using PrefabInspection::FindingRule;

namespace {

constexpr std::size_t PAGE_WIDTH = 120;

/// The codes from KP0100 belong to the first group, those from KP0200 to the second, and so on.
constexpr std::array<std::string_view, 7> GROUPS{"Files",
                                                 "Structure of documents",
                                                 "Components and values",
                                                 "Game objects and their hierarchy",
                                                 "Links",
                                                 "Nested prefabs",
                                                 "Overrides"};

[[nodiscard]] std::size_t groupOf(const FindingRule& rule) {
    return static_cast<std::size_t>(rule.code) / 100 - 1;
}

[[nodiscard]] std::size_t charactersCount(std::string_view text) {
    return characterColumn(text, text.size() + 1) - 1;
}

/// Breaks a text between words.
[[nodiscard]] std::string wrapped(std::string_view text, std::size_t width) {
    std::string result;
    std::size_t lineWidth = 0;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(text.size(), word.size() + 1));
        const std::size_t wordWidth = charactersCount(word);
        if (lineWidth > 0 && width > 0 && lineWidth + 1 + wordWidth > width) {
            result += '\n';
            lineWidth = 0;
        } else if (lineWidth > 0) {
            result += ' ';
            ++lineWidth;
        }
        result += word;
        lineWidth += wordWidth;
    }
    return result;
}

/// The text as a block that is indented by four spaces, which Markdown shows as it is. Tabs become two spaces.
[[nodiscard]] std::string indented(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        result += "    ";
        for (const char character : line) {
            result += character == '\t' ? "  " : std::string(1, character);
        }
        result += '\n';
    }
    return result;
}

/// Escapes what Markdown would take for HTML.
[[nodiscard]] std::string markdownText(const std::string& text) {
    std::string result;
    for (const char character : text) {
        if (character == '&') {
            result += "&amp;";
        } else if (character == '<') {
            result += "&lt;";
        } else {
            result += character;
        }
    }
    return result;
}

/// The paragraphs of a description, which plain text and Markdown have in common.
struct Paragraphs {
    std::string what;
    std::string why;
    std::string cure;
};

[[nodiscard]] Paragraphs paragraphsOf(const FindingRule& rule) {
    return {std::string(rule.what), "Why it matters: " + std::string(rule.why),
            "How to fix it: " + std::string(rule.cure)};
}

[[nodiscard]] std::string assembled(const Paragraphs& paragraphs, const FindingRule& rule, std::size_t width) {
    return wrapped(paragraphs.what, width) + "\n\n" + wrapped(paragraphs.why, width) + "\n\nExample:\n\n" +
           indented(rule.example) + "\n" + wrapped(paragraphs.cure, width) + "\n";
}

[[nodiscard]] std::string heading(const FindingRule& rule) {
    return PrefabInspection::codeText(rule.code) + " " + std::string(rule.name);
}

/// As code hosts derive it from the heading.
[[nodiscard]] std::string anchor(const FindingRule& rule) {
    std::string text = heading(rule);
    std::replace(text.begin(), text.end(), ' ', '-');
    std::transform(text.begin(), text.end(), text.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return text;
}

[[nodiscard]] std::string introduction() {
    std::string text = "# Findings\n\n";
    text += wrapped("The findings of `kiln-prefab check`, by code. `kiln-prefab help CODE` shows the same text. A code "
                    "keeps its meaning in all versions, and the code of a finding that no longer exists is not used "
                    "again. A severity is the usual one: settings can change it, and some findings are less serious in "
                    "certain files. An error is a problem that loading reports as an error, or that makes it fail.",
                    PAGE_WIDTH);
    text += "\n\nThis page is generated from the program: `ninja -C build/release findings_page` writes it.\n\n";
    text += "| code | name | severity |\n|---|---|---|\n";
    for (const FindingRule& rule : PrefabInspection::findingRules()) {
        text += "| [" + PrefabInspection::codeText(rule.code) + "](#" + anchor(rule) + ") | " + std::string(rule.name) +
                " | " + std::string(PrefabInspection::severityText(rule.severity)) + " |\n";
    }
    return text;
}

} // namespace

std::string ruleText(const FindingRule& rule, std::size_t width) {
    return heading(rule) + " (" + std::string(PrefabInspection::severityText(rule.severity)) + ")\n\n" +
           assembled(paragraphsOf(rule), rule, width);
}

std::string ruleMarkdown(const FindingRule& rule, std::size_t width) {
    Paragraphs paragraphs = paragraphsOf(rule);
    for (std::string* const paragraph : {&paragraphs.what, &paragraphs.why, &paragraphs.cure}) {
        *paragraph = markdownText(*paragraph);
    }
    return assembled(paragraphs, rule, width);
}

std::string findingsPage() {
    std::string page = introduction();
    std::size_t group = GROUPS.size();
    for (const FindingRule& rule : PrefabInspection::findingRules()) {
        if (groupOf(rule) != group) {
            group = groupOf(rule);
            page += "\n## " + std::string(GROUPS.at(group)) + "\n";
        }
        page += "\n### " + heading(rule) +
                "\n\nSeverity: " + std::string(PrefabInspection::severityText(rule.severity)) + "\n\n" +
                ruleMarkdown(rule, PAGE_WIDTH);
    }
    return page;
}

} // namespace Kiln::PrefabTool
