#pragma once

#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>

#include <string>

namespace Kiln::PrefabTool {

/// Merges the changes that two files have made to a third one.
class MergeCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;
    [[nodiscard]] int failureStatus() const override;

private:
    [[nodiscard]] int merge(Terminal& terminal) const;

    CommonOptions m_common;
    std::string m_base;
    std::string m_ours;
    std::string m_theirs;
    std::string m_output;
    std::string m_path;   ///< What the merged file is named in a repository; empty for m_output.
    std::string m_prefer; ///< "ours", "theirs" or empty.
    std::string m_format = "text";
    bool m_isUnchecked = false;
};

} // namespace Kiln::PrefabTool
