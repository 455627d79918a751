#pragma once

#include "own_objects.h"

#include <kiln_prefab/command.h>
#include <kiln_prefab/view/prefab_argument.h>
#include <prefab_editing/prefab_editor.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

class ResourceRoots;

/// The commands that make one change of a prefab file: what they have in common. A change that brings new findings is
/// refused.
class EditCommand : public Command {
public:
    void addOptions(CLI::App& app) final;
    [[nodiscard]] int run(Terminal& terminal) final;

protected:
    /// What a command works on.
    struct Session {
        Terminal& terminal;
        const ResourceRoots& roots;
        const PrefabInspection::PrefabFile& file;
        const PrefabInspection::Composition& composition;
        const OwnObjects& objects;
        PrefabEditing::PrefabEditor& editor;
    };

    virtual void addArguments(CLI::App& app) = 0;

    /// Makes the change in the editor. Returns false after reporting why not; or throws CommandError or EditError.
    [[nodiscard]] virtual bool change(const Session& session) = 0;

    /// Called after the file was written.
    virtual void reportSuccess(Terminal& /*terminal*/) const {}

    /// The argument OBJECT.
    void addObject(CLI::App& app);
    [[nodiscard]] const std::string& object() const noexcept { return m_object; }

private:
    [[nodiscard]] int finish(Terminal& terminal, const ResourceRoots& roots, const std::string& path,
                             const PrefabEditing::EditedText& text) const;

    /// Returns whether the change may be made.
    [[nodiscard]] bool review(Terminal& terminal, const ResourceRoots& roots, const std::string& path,
                              const std::string& newText) const;

    PrefabArgument m_argument;
    std::string m_object;
    std::vector<std::string> m_users;
    bool m_isDryRun = false;
    bool m_isForced = false;
};

} // namespace Kiln::PrefabTool
