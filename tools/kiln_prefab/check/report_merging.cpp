#include "report_merging.h"

#include "command_error.h"

#include <core/formatter.h>
#include <kiln_prefab/reports/json_report.h>
#include <prefab_editing/text_file.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

using PrefabInspection::CheckedFile;
using PrefabInspection::CheckResult;
using PrefabInspection::Finding;

constexpr std::size_t MAX_REPORT_SIZE = std::size_t{2} << 30U;

/// Adds the texts of a sorted list to another one.
void unite(std::vector<std::string>& texts, const std::vector<std::string>& others) {
    const auto oldEnd = static_cast<std::ptrdiff_t>(texts.size());
    texts.insert(texts.end(), others.begin(), others.end());
    std::inplace_merge(texts.begin(), texts.begin() + oldEnd, texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
}

} // namespace

void ReportMerger::add(CheckResult result) {
    for (CheckedFile& file : result.files) {
        addFile(std::move(file));
    }
    std::map<Key, std::size_t> counts; // Of the findings of this result.
    for (Finding& finding : result.findings) {
        Key key{finding.file, finding.range, finding.code, finding.message, finding.subject};
        const std::size_t count = ++counts[key];
        std::vector<Finding>& known = m_findings[std::move(key)];
        if (known.size() < count) {
            known.push_back(std::move(finding));
        } else {
            unite(known[count - 1].dependents, finding.dependents);
        }
    }
}

void ReportMerger::addFile(CheckedFile file) {
    const auto [known, isNew] = m_files.try_emplace(file.path, file);
    if (isNew) {
        return;
    }
    if (known->second.contentHash != file.contentHash || known->second.bytes != file.bytes) {
        throw CommandError("The reports do not belong together: '" + file.path + "' has changed between them");
    }
    known->second.isTarget = known->second.isTarget || file.isTarget;
}

CheckResult ReportMerger::take() {
    CheckResult result;
    for (auto& [key, findings] : m_findings) {
        std::move(findings.begin(), findings.end(), std::back_inserter(result.findings));
    }
    for (auto& [path, file] : m_files) {
        result.files.push_back(std::move(file));
    }
    return result;
}

CheckResult mergeReports(const std::vector<std::string>& fileNames) {
    ReportMerger merger;
    for (const std::string& name : fileNames) {
        const PrefabEditing::TextFile file = PrefabEditing::readTextFile(name, MAX_REPORT_SIZE);
        if (file.status != PrefabEditing::TextFile::Status::READ) {
            throw CommandError("Cannot read '" + name + "': " + file.problem);
        }
        std::string problem;
        std::optional<CheckResult> result = readJsonReport(file.text, problem);
        if (!result) {
            throw CommandError(
                formatText("'%s' is not a report of check --format json: %s", name.c_str(), problem.c_str()));
        }
        merger.add(std::move(*result));
    }
    return merger.take();
}

} // namespace Kiln::PrefabTool
