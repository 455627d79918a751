#pragma once

#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>

#include <string>

namespace Kiln::PrefabTool {

struct ConflictList;

/// Lists or decides the conflicts that a file holds after a merge.
class ResolveCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    [[nodiscard]] int resolve(Terminal& terminal) const;
    void decide(Terminal& terminal, std::string& text, ConflictList& list) const;
    void requireDocument(const std::string& text) const;

    CommonOptions m_common;
    std::string m_file;
    std::string m_prefer; ///< "ours", "theirs" or empty.
    std::string m_object; ///< UUID; empty for all.
    std::string m_format = "text";
};

} // namespace Kiln::PrefabTool
