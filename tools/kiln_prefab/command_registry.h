#pragma once

#include "command.h"

#include <core/non_copyable.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace Kiln::PrefabTool {

/// The commands with the definitions of their options. Main thread.
class CommandRegistry : NonCopyable {
public:
    /// A command and the subcommand of app() that has its options.
    struct Entry {
        std::unique_ptr<Command> command;
        CLI::App* app; ///< Owned by the registry's app().
    };

    CommandRegistry();
    ~CommandRegistry();

    /// The definition of the whole program.
    [[nodiscard]] CLI::App& app() noexcept { return *m_app; }
    [[nodiscard]] const CLI::App& app() const noexcept { return *m_app; }

    [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return m_entries; }

    /// The command of that name; null if there is none.
    [[nodiscard]] const Entry* find(std::string_view name) const;

    [[nodiscard]] std::vector<std::string> names() const;

    /// The help of the program.
    [[nodiscard]] std::string help() const;

    /// The help of a command.
    [[nodiscard]] static std::string help(const Entry& entry);

private:
    std::unique_ptr<CLI::App> m_app;
    std::vector<Entry> m_entries;
};

} // namespace Kiln::PrefabTool
