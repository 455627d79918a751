#pragma once

#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>
#include <prefab_comparison/change.h>
#include <prefab_comparison/loaded_document.h>
#include <resource/file_content.h>

#include <memory>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

struct ComparedSides;

/// Shows what has changed between two prefabs.
class DiffCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    /// A text that is compared. The name is for messages.
    struct Side {
        std::string name;
        FileContent content;
    };

    using Changes = std::vector<PrefabComparison::Change>;

    [[nodiscard]] int runComparison(Terminal& terminal) const;
    [[nodiscard]] int runComposed(Terminal& terminal) const;
    [[nodiscard]] int runForGit(Terminal& terminal) const;
    [[nodiscard]] int runTextConversion(Terminal& terminal) const;
    void checkPaths(std::size_t count) const;
    [[nodiscard]] Side readEarlier() const;
    [[nodiscard]] std::string earlierName() const;
    [[nodiscard]] std::string fileName(const std::string& name) const;
    [[nodiscard]] Side readSide(const std::string& name) const;
    [[nodiscard]] int compare(Terminal& terminal, Side before, Side after) const;
    [[nodiscard]] int show(Terminal& terminal, const ComparedSides& sides, const Changes& changes) const;

    CommonOptions m_common;
    std::vector<std::string> m_paths;
    std::string m_revision;
    std::vector<std::string> m_oldRoots;
    std::string m_format = "text";
    bool m_isBrief = false;
    bool m_isComposed = false;
    bool m_isForGit = false;
    bool m_isTextConversion = false;
};

} // namespace Kiln::PrefabTool
