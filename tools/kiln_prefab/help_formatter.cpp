#include "help_formatter.h"

#include "option_definition.h"

#include <cstddef>
#include <sstream>

namespace Kiln::PrefabTool {

namespace {

constexpr std::size_t WIDTH = 80;
constexpr std::size_t NAME_WIDTH = 28;

/// Beside the names; the formatter indents the lines.
constexpr std::size_t DESCRIPTION_WIDTH = WIDTH - NAME_WIDTH;

/// The text in lines of at most `width` characters, except for longer words.
[[nodiscard]] std::string wrapped(const std::string& text, std::size_t width) {
    std::istringstream words(text);
    std::string result;
    std::size_t used = 0;
    for (std::string word; words >> word;) {
        if (used > 0 && used + 1 + word.size() > width) {
            result += '\n';
            used = 0;
        } else if (used > 0) {
            result += ' ';
            ++used;
        }
        result += word;
        used += word.size();
    }
    return result;
}

} // namespace

HelpFormatter::HelpFormatter() {
    column_width(NAME_WIDTH);
    label("OPTIONS", "options");
    label("Positionals", "Arguments");
}

std::string HelpFormatter::make_description(const CLI::App* app) const {
    return wrapped(app->get_description(), WIDTH) + "\n";
}

std::string HelpFormatter::make_usage(const CLI::App* app, std::string name) const {
    return app->get_parent() ? Formatter::make_usage(app, name) : "Usage: " + name + " COMMAND [options] ARGUMENT...\n";
}

std::string HelpFormatter::make_subcommand(const CLI::App* sub) const {
    std::ostringstream out;
    CLI::detail::format_help(out, sub->get_display_name(true), wrapped(sub->get_description(), DESCRIPTION_WIDTH),
                             column_width_);
    return out.str();
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
    const OptionDefinition definition = optionDefinition(*option);
    return (definition.valueName.empty() ? "" : " " + definition.valueName) + (definition.isRepeatable ? " ..." : "");
}

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const {
    return wrapped(option->get_description(), DESCRIPTION_WIDTH);
}

} // namespace Kiln::PrefabTool
