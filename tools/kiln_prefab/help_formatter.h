#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

/// Writes the help of the program and of its commands, in lines of at most 80 characters.
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter();

    [[nodiscard]] std::string make_description(const CLI::App* app) const override;
    [[nodiscard]] std::string make_usage(const CLI::App* app, std::string name) const override;
    [[nodiscard]] std::string make_subcommand(const CLI::App* sub) const override;
    [[nodiscard]] std::string make_option_opts(const CLI::Option* option) const override;
    [[nodiscard]] std::string make_option_desc(const CLI::Option* option) const override;
};

} // namespace Kiln::PrefabTool
