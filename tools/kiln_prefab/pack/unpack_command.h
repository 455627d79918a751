#pragma once

#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>
#include <resource/resource_pack.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Makes prefab files of the documents of a pack.
class UnpackCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    [[nodiscard]] int unpack(Terminal& terminal) const;
    [[nodiscard]] std::vector<std::size_t> selected(const ResourcePack& pack) const;

    /// Returns what went wrong, as a sentence without full stop; empty on success.
    [[nodiscard]] std::string unpackDocument(Terminal& terminal, const ResourcePack& pack, std::size_t index) const;

    CommonOptions m_common;
    std::string m_pack;
    std::vector<std::string> m_documents;
    std::string m_output;
    bool m_isForced = false;
    bool m_printsText = false;
};

} // namespace Kiln::PrefabTool
