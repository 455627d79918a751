#include "file_rewriting.h"

#include <core/parallel.h>
#include <kiln_prefab/check/resource_change.h>
#include <prefab_editing/canonical_form.h>
#include <prefab_editing/unified_diff.h>
#include <resource/resource_text.h>

#include <optional>
#include <string_view>
#include <utility>

namespace Kiln::PrefabTool {

using FS::Utils::ResourceText;
using PrefabEditing::EditedText;
using PrefabEditing::TextEdit;

namespace {

[[nodiscard]] std::string problemText(const std::string& path, const XmlProblem& problem) {
    std::string text = path;
    if (problem.position.line != 0) {
        text.append(":")
            .append(std::to_string(problem.position.line))
            .append(":")
            .append(std::to_string(problem.position.column));
    }
    return text.append(": the file cannot be rewritten: ").append(problem.description);
}

[[nodiscard]] std::string problemText(const std::string& path, const ResourceText& resource) {
    if (resource.status == ResourceText::Status::MISSING) {
        return path + ": the file is missing";
    }
    const std::string_view verb = resource.problem.starts_with("is ") ? "" : "cannot be read: ";
    return (path + ": the file ").append(verb).append(resource.problem);
}

/// Makes the patch of a file and of its edits. Returns false and sets the problem on failure.
[[nodiscard]] bool makePatch(std::string_view text, RewrittenFile& file) {
    XmlProblem problem;
    std::optional<std::vector<TextEdit>> edits = PrefabEditing::canonicalEdits(text, problem);
    if (!edits) {
        file.problem = problemText(file.path, problem);
        return false;
    }
    EditedText edited{std::string(text)};
    edited.apply(std::move(*edits));
    file.patch = PrefabEditing::unifiedDiff(file.path, edited);
    return true;
}

[[nodiscard]] RewrittenFile rewriteFile(const std::string& path, const ResourceRoots& roots,
                                        const RewriteOptions& options) {
    RewrittenFile file;
    file.path = path;
    const ResourceText resource = FS::Utils::readResource(path);
    if (resource.status != ResourceText::Status::READ) {
        file.problem = problemText(path, resource);
        return file;
    }
    const std::string_view text = resource.content.text();
    if (options.makesPatch && !makePatch(text, file)) {
        return file;
    }
    XmlProblem problem;
    std::optional<std::string> form = PrefabEditing::canonicalForm(text, problem);
    if (!form) {
        file.problem = problemText(path, problem);
        return file;
    }
    file.isChanged = *form != text;
    if (file.isChanged && options.writesFiles) {
        file.problem = replaceResource(roots, path, text, *form);
    }
    if (options.keepsText) {
        file.text = std::move(*form);
    }
    return file;
}

} // namespace

std::vector<RewrittenFile> rewriteFiles(const std::vector<std::string>& paths, const ResourceRoots& roots,
                                        const RewriteOptions& options) {
    std::vector<RewrittenFile> files(paths.size());
    forEachIndex(
        paths.size(), threadsFor(options.threads),
        [&](std::size_t index) { files[index] = rewriteFile(paths[index], roots, options); },
        [&](std::size_t filesCount, std::size_t index) {
            if (options.onFile) {
                options.onFile(filesCount, paths[index]);
            }
        });
    return files;
}

} // namespace Kiln::PrefabTool
