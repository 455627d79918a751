#include "merge_files.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/check/resource_roots.h>
#include <prefab_editing/text_file.h>

#include <filesystem>
#include <future>
#include <optional>
#include <utility>

namespace Kiln::PrefabTool {

using PrefabEditing::readTextFile;
using PrefabEditing::TextFile;

std::vector<std::string> readFiles(const std::vector<std::string>& names) {
    std::vector<std::future<TextFile>> pending;
    pending.reserve(names.size());
    for (const std::string& name : names) {
        pending.push_back(std::async(std::launch::async, readTextFile, name, MAX_MERGED_SIZE));
    }
    std::vector<std::string> texts;
    for (std::size_t index = 0; index < names.size(); ++index) {
        TextFile file = pending[index].get();
        if (file.status != TextFile::Status::READ) {
            throw CommandError("Cannot read '" + names[index] +
                               "': " + (file.status == TextFile::Status::MISSING ? "it does not exist" : file.problem));
        }
        texts.push_back(std::move(file.text));
    }
    return texts;
}

void writeFile(const std::string& name, const std::string& text) {
    const std::string problem = PrefabEditing::replaceTextFile(name, text);
    if (!problem.empty()) {
        throw CommandError(problem);
    }
}

std::string checkedPath(const std::string& name, const std::vector<std::string>& roots) {
    const std::optional<ResourceRoots::Location> location = ResourceRoots(roots).locate(name);
    return location && !location->path.empty() ? location->path : std::filesystem::path(name).filename().string();
}

} // namespace Kiln::PrefabTool
