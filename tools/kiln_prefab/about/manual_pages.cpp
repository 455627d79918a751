#include "manual_pages.h"

#include "text_lists.h"

#include <kiln_prefab/option_definition.h>
#include <tessel_foundation/version.h>

#include <sstream>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

constexpr std::string_view STATUS_AND_ENVIRONMENT = R"(.SH EXIT STATUS
.TP
.B 0
Success: no problem was found or reported.
.TP
.B 1
Problems were found or reported, something could not be created, or the output could not be written.
.TP
.B 2
The command could not run: the command line was wrong, or a component library could not be loaded.
.SH ENVIRONMENT
.TP
.B NO_COLOR
If it is not empty, no colours are used, unless the option
.B \-\-color always
is given.
.TP
.B TERM
If it is dumb, empty or not set, neither colours nor progress are shown.
)";

/// Text without macros and with the characters that roff would change.
[[nodiscard]] std::string escaped(std::string_view text) {
    const std::string result = replacedCharacters(
        text, {{'\\', R"(\e)"}, {'-', R"(\-)"}, {'~', R"(\(ti)"}, {'^', R"(\(ha)"}, {'`', R"(\(ga)"}});
    return result.starts_with('.') || result.starts_with('\'') ? R"(\&)" + result : result;
}

/// A sentence as the phrase that section NAME has: without capital and full stop.
[[nodiscard]] std::string asPhrase(std::string_view sentence) {
    std::string phrase(sentence);
    if (!phrase.empty() && phrase.front() >= 'A' && phrase.front() <= 'Z') {
        phrase.front() = static_cast<char>(phrase.front() - 'A' + 'a');
    }
    if (phrase.ends_with('.')) {
        phrase.pop_back();
    }
    return phrase;
}

void writeHead(std::ostream& stream, const std::string& name, std::string_view summary) {
    std::string title = name;
    for (char& character : title) {
        character = character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
    }
    stream << ".TH " << title << " 1 \"\" \"kiln\\-prefab " KILN_VERSION_STRING "\" \"Kiln Tessel\"\n.SH NAME\n"
           << escaped(name) << " \\- " << escaped(asPhrase(summary)) << "\n.SH SYNOPSIS\n";
}

void writeOptions(std::ostream& stream, const CLI::App& app) {
    for (const OptionDefinition& definition : optionDefinitions(app)) {
        stream << ".TP\n";
        if (definition.isArgument()) {
            stream << "\\fI" << escaped(definition.argumentName) << "\\fR";
        }
        const char* separator = "";
        for (const std::string& name : definition.names) {
            stream << separator << "\\fB" << escaped(name) << "\\fR";
            separator = ", ";
        }
        if (!definition.valueName.empty()) {
            stream << " \\fI" << escaped(definition.valueName) << "\\fR";
        }
        stream << '\n' << escaped(definition.description) << ".\n";
    }
}

void writeExamples(std::ostream& stream, const Command::Description& description) {
    stream << ".SH EXAMPLES\n";
    for (const std::string_view example : description.examples) {
        stream << ".PP\n.EX\n" << escaped(example) << "\n.EE\n";
    }
}

[[nodiscard]] std::string synopsisOf(const CLI::App& app) {
    std::string text = "[\\fIoptions\\fR]";
    for (const OptionDefinition& definition : optionDefinitions(app)) {
        if (definition.isArgument()) {
            const std::string argument =
                "\\fI" + escaped(definition.argumentName) + "\\fR" + (definition.isRepeatable ? "..." : "");
            text += definition.isRequired ? " " + argument : " [" + argument + "]";
        }
    }
    return text;
}

} // namespace

std::string manualPage(const CommandRegistry& registry) {
    std::ostringstream stream;
    writeHead(stream, "kiln-prefab", registry.app().get_description());
    stream << "\\fBkiln\\-prefab\\fR \\fICOMMAND\\fR [\\fIoptions\\fR] \\fIARGUMENT\\fR...\n.SH DESCRIPTION\n"
           << escaped(registry.app().get_description())
           << "\nResults go to the standard output, everything else to the standard error output.\n.SH COMMANDS\n";
    std::string pages;
    for (const CommandRegistry::Entry& entry : registry.entries()) {
        const Command::Description& description = entry.command->description();
        stream << ".TP\n\\fB" << escaped(description.name) << "\\fR\n" << escaped(description.summary) << '\n';
        pages += std::string(pages.empty() ? "" : ",\n") + ".BR kiln\\-prefab\\-" + escaped(description.name) + " (1)";
    }
    stream << ".SH OPTIONS\n";
    writeOptions(stream, registry.app());
    stream << STATUS_AND_ENVIRONMENT << ".SH SEE ALSO\n" << pages << '\n';
    return stream.str();
}

std::string manualPage(const CommandRegistry::Entry& entry) {
    const Command::Description& description = entry.command->description();
    std::ostringstream stream;
    writeHead(stream, "kiln-prefab-" + std::string(description.name), description.summary);
    stream << "\\fBkiln\\-prefab " << escaped(description.name) << "\\fR " << synopsisOf(*entry.app)
           << "\n.SH DESCRIPTION\n"
           << escaped(description.summary) << "\n.SH OPTIONS\n";
    writeOptions(stream, *entry.app);
    writeExamples(stream, description);
    stream << STATUS_AND_ENVIRONMENT << ".SH SEE ALSO\n.BR kiln\\-prefab (1)\n";
    return stream.str();
}

} // namespace Kiln::PrefabTool
