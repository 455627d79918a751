#pragma once

#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>

#include <cstdint>
#include <string>

namespace Kiln::PrefabTool {

/// Measures how long a prefab takes to load and to create.
class BenchCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    [[nodiscard]] int measure(Terminal& terminal, LogCollector& log) const;

    CommonOptions m_common;
    std::string m_file;
    std::int64_t m_repeat = 20;
    std::string m_format = "text";
};

} // namespace Kiln::PrefabTool
