#include "fixing.h"

#include <prefab_editing/text_file.h>
#include <prefab_editing/unified_diff.h>
#include <resource/file_system_utils.h>
#include <resource/resource_text.h>

#include <optional>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

using PrefabEditing::EditedText;
using PrefabEditing::TextEdit;
using PrefabInspection::CheckResult;
using PrefabInspection::Finding;

/// A fix may make room for another one that overlapped it, or uncover a finding. More passes than these mean that fixes
/// undo each other.
constexpr int MAX_PASSES = 20;

using EditsByFile = std::map<std::string, std::vector<TextEdit>>;

[[nodiscard]] EditsByFile editsOf(const CheckResult& result) {
    EditsByFile edits;
    for (const Finding& finding : result.findings) {
        if (finding.fix) {
            edits[finding.file].push_back({finding.fix->offset, finding.fix->size, finding.fix->text});
        }
    }
    return edits;
}

[[nodiscard]] std::optional<std::string> readResourceText(const std::string& path) {
    const FS::Utils::ResourceText resource = FS::Utils::readResource(path);
    if (resource.status != FS::Utils::ResourceText::Status::READ) {
        return std::nullopt;
    }
    return std::string(resource.content.text());
}

/// The passes over the files. Fixes are taken only from checks of texts in memory, so that they fit to these texts even
/// if a file changes meanwhile.
class Fixer {
public:
    Fixer(CheckPlan plan, const ResourceRoots& roots, SettingsFiles& settings)
        : m_plan(std::move(plan)), m_roots(roots), m_settings(settings) {}

    [[nodiscard]] FixedFiles run() {
        m_result.before = check();
        m_result.after = m_result.before;
        for (int pass = 0; pass < MAX_PASSES; ++pass) {
            const EditsByFile edits = editsOf(m_result.after.shown);
            const bool areNewFilesRead = readFiles(edits);
            const std::size_t appliedCount = areNewFilesRead ? 0 : apply(edits);
            if (!areNewFilesRead && appliedCount == 0) {
                break;
            }
            m_result.fixedCount += appliedCount;
            m_result.after = check();
        }
        std::erase_if(m_result.files, [](const auto& entry) { return entry.second.edits().empty(); });
        return std::move(m_result);
    }

private:
    [[nodiscard]] CheckOutcome check() const {
        BaselineFiles baselines(false);
        return runCheck(m_plan, m_roots, m_settings, baselines);
    }

    /// Reads the files that are to be fixed into memory. Returns false if all of them have been read before.
    [[nodiscard]] bool readFiles(const EditsByFile& edits) {
        bool areNewFilesRead = false;
        for (const auto& [path, fileEdits] : edits) {
            if (m_result.files.contains(path)) {
                continue;
            }
            if (std::optional<std::string> text = readResourceText(path)) {
                m_plan.buffers.emplace(path, *text);
                m_result.files.emplace(path, EditedText(std::move(*text)));
                areNewFilesRead = true;
            }
        }
        return areNewFilesRead;
    }

    [[nodiscard]] std::size_t apply(const EditsByFile& edits) {
        std::size_t appliedCount = 0;
        for (const auto& [path, fileEdits] : edits) {
            if (const auto file = m_result.files.find(path); file != m_result.files.end()) {
                appliedCount += file->second.apply(fileEdits);
                m_plan.buffers[path] = file->second.text();
            }
        }
        return appliedCount;
    }

    CheckPlan m_plan;
    const ResourceRoots& m_roots;
    SettingsFiles& m_settings;
    FixedFiles m_result;
};

} // namespace

FixedFiles fixInMemory(CheckPlan plan, const ResourceRoots& roots, SettingsFiles& settings) {
    return Fixer(std::move(plan), roots, settings).run();
}

std::vector<std::string> writeFixedFiles(const FixedFiles& fixed, const ResourceRoots& roots) {
    std::vector<std::string> problems;
    for (const auto& [path, text] : fixed.files) {
        if (readResourceText(path) != text.original()) {
            problems.push_back("Cannot fix '" + path + "': another program has changed it meanwhile");
            continue;
        }
        if (std::string problem = PrefabEditing::replaceTextFile(roots.fileName(path), text.text()); !problem.empty()) {
            problems.push_back(std::move(problem));
        }
    }
    return problems;
}

std::string patchOf(const FixedFiles& fixed) {
    std::string patch;
    for (const auto& [path, text] : fixed.files) {
        patch += PrefabEditing::unifiedDiff(path, text);
    }
    return patch;
}

} // namespace Kiln::PrefabTool
