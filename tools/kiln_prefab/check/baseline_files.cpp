#include "baseline_files.h"

#include "command_error.h"

#include <prefab_editing/text_file.h>

#include <utility>

namespace Kiln::PrefabTool {

namespace {

constexpr std::size_t MAX_BASELINE_SIZE = std::size_t{512} << 20U;

} // namespace

bool BaselineFiles::File::match(const FindingKey& key) {
    if (!baseline.contains(key)) {
        return false;
    }
    found.insert(key);
    return true;
}

BaselineFiles::File& BaselineFiles::file(const std::string& name) {
    if (const auto found = m_files.find(name); found != m_files.end()) {
        return found->second;
    }
    PrefabEditing::TextFile read = PrefabEditing::readTextFile(name, MAX_BASELINE_SIZE);
    File file;
    if (read.status == PrefabEditing::TextFile::Status::READ) {
        file.baseline = Baseline::read(read.text, name);
        file.text = std::move(read.text);
    } else if (read.status != PrefabEditing::TextFile::Status::MISSING) {
        throw CommandError("Cannot read the baseline '" + name + "': " + read.problem);
    } else if (!m_createsMissing) {
        throw CommandError("The baseline '" + name + "' does not exist; --accept writes it");
    }
    return m_files.emplace(name, std::move(file)).first->second;
}

void BaselineFiles::write() const {
    for (const auto& [name, file] : m_files) {
        const std::string text = file.baseline.text();
        if (text != file.text) {
            if (const std::string problem = PrefabEditing::replaceTextFile(name, text); !problem.empty()) {
                throw CommandError(problem);
            }
        }
    }
}

} // namespace Kiln::PrefabTool
