#pragma once

#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Finds the objects that have a UUID.
class FindUuidCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    [[nodiscard]] int search(Terminal& terminal) const;

    CommonOptions m_common;
    std::string m_uuid;
    std::vector<std::string> m_paths;
    std::string m_instanceUuid; ///< Empty for the zero UUID.
    std::int64_t m_jobs = 0;
    std::string m_format = "text";
};

} // namespace Kiln::PrefabTool
