#include "unpack_command.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/pack/opened_pack.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/prefab_argument.h>
#include <prefab_editing/text_file.h>
#include <prefab_packing/packed_file.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <ostream>
#include <system_error>
#include <utility>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace fs = std::filesystem;

const Command::Description& UnpackCommand::description() const {
    static const Description DESCRIPTION{"unpack",
                                         "Write the documents of a pack as prefab files in canonical form.",
                                         {"kiln-prefab unpack game.kilnpack --output content",
                                          "kiln-prefab unpack game.kilnpack props/lamp.prefab --stdout"}};
    return DESCRIPTION;
}

void UnpackCommand::addOptions(CLI::App& app) {
    app.add_option("PACK", m_pack, "The pack")->required()->check(notEmpty())->type_name("");
    app.add_option("DOCUMENT", m_documents, "Paths of documents in the pack (default: all)")
        ->check(notEmpty())
        ->type_name("");
    CLI::Option* const output =
        app.add_option("--output,-o", m_output, "Write the files beneath DIR")->check(notEmpty())->type_name("DIR");
    app.add_flag("--force", m_isForced, "Replace files that exist, each atomically");
    app.add_flag("--stdout", m_printsText, "Write one document to the standard output instead")->excludes(output);
    m_common.addTo(app);
}

int UnpackCommand::run(Terminal& terminal) {
    if (!m_common.apply(terminal)) {
        return ExitStatus::USAGE;
    }
    return runReporting(terminal, [this, &terminal] { return unpack(terminal); });
}

int UnpackCommand::unpack(Terminal& terminal) const {
    const SmartPointer<const ResourcePack> pack = openedPack(m_pack);
    const std::vector<std::size_t> indices = selected(*pack);
    if (m_printsText ? indices.size() != 1 : m_output.empty()) {
        throw CommandError(m_printsText ? "--stdout takes one document" : "--output DIR is required");
    }
    bool isAnyFailed = false;
    for (std::size_t i = 0; i < indices.size(); ++i) {
        terminal.showProgress(i, indices.size(), pack->document(indices[i]).path);
        if (const std::string problem = unpackDocument(terminal, *pack, indices[i]); !problem.empty()) {
            terminal.reportFailure(problem);
            isAnyFailed = true;
        }
    }
    terminal.clearProgress();
    if (isAnyFailed) {
        return ExitStatus::USAGE;
    }
    if (!m_printsText) {
        terminal.note("unpacked " + counted(indices.size(), "document"));
    }
    return ExitStatus::SUCCESS;
}

std::vector<std::size_t> UnpackCommand::selected(const ResourcePack& pack) const {
    std::vector<std::size_t> indices;
    if (m_documents.empty()) {
        indices.reserve(pack.documentsCount());
        for (std::size_t i = 0; i < pack.documentsCount(); ++i) {
            indices.push_back(i);
        }
        return indices;
    }
    indices.reserve(m_documents.size());
    for (const std::string& path : m_documents) {
        const std::optional<std::size_t> index = pack.find(path);
        if (!index) {
            throw CommandError("'" + path + "' is not in the pack");
        }
        indices.push_back(*index);
    }
    std::sort(indices.begin(), indices.end());
    indices.erase(std::unique(indices.begin(), indices.end()), indices.end()); // A document may be named twice.
    return indices;
}

std::string UnpackCommand::unpackDocument(Terminal& terminal, const ResourcePack& pack, std::size_t index) const {
    std::string problem;
    const std::optional<std::string> text = PrefabPacking::unpackDocument(pack, index, problem);
    if (!text) {
        return problem;
    }
    if (m_printsText) {
        terminal.output() << *text;
        return {};
    }
    // The pack has only paths that lead to something beneath the folder, unless the folder has links.
    const fs::path file = fs::path(m_output) / pack.document(index).path;
    std::error_code error;
    fs::create_directories(file.parent_path(), error);
    if (error) {
        return ("Cannot make the folder '" + file.parent_path().string()).append("': ").append(error.message());
    }
    if (!m_isForced && fs::exists(fs::symlink_status(file, error))) {
        return "'" + file.string() + "' exists already; --force replaces it";
    }
    return PrefabEditing::replaceTextFile(file.string(), *text);
}

} // namespace Kiln::PrefabTool
