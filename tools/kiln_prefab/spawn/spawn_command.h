#pragma once

#include "spawn_options.h"

#include <kiln_prefab/command.h>

#include <cstdint>
#include <optional>
#include <string>

namespace Kiln::PrefabTool {

/// Loads prefabs as a game does and shows the objects that they create.
class SpawnCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;
    [[nodiscard]] bool isStuck() const override { return m_isStuck; }

private:
    [[nodiscard]] SpawnOptions options() const;

    /// As the options are stored, before they are converted by options().
    SpawnOptions m_options;
    std::int64_t m_instances = 1;
    double m_timeout = 30;                ///< In seconds.
    std::optional<std::int64_t> m_budget; ///< In microseconds.
    std::string m_instanceUuid;
    std::string m_format = "text";
    bool m_isStuck = false;
};

} // namespace Kiln::PrefabTool
