#include "change_review.h"

#include <prefab_inspection/checking/checker.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <tuple>

namespace Kiln::PrefabTool {

using PrefabInspection::CheckedFile;
using PrefabInspection::CheckOptions;
using PrefabInspection::CheckResult;
using PrefabInspection::Finding;
using PrefabInspection::FindingCode;
using PrefabInspection::Severity;

namespace {

/// Recognises a finding after the lines have moved.
using Key = std::tuple<std::string, FindingCode, std::string, std::optional<Uuid>>;

[[nodiscard]] Key keyOf(const Finding& finding) {
    return {finding.file, finding.code, finding.subject, finding.objectUuid};
}

/// Counts the findings that were there before, and takes them away one by one.
class KnownFindings {
public:
    explicit KnownFindings(const CheckResult& result) {
        for (const Finding& finding : result.findings) {
            ++m_counts[keyOf(finding)];
        }
    }

    /// Whether the finding was there before.
    [[nodiscard]] bool take(const Finding& finding) {
        const auto found = m_counts.find(keyOf(finding));
        if (found == m_counts.end() || found->second == 0) {
            return false;
        }
        --found->second;
        return true;
    }

private:
    std::map<Key, std::size_t> m_counts;
};

} // namespace

bool ChangeReview::hasErrors() const {
    return std::any_of(findings.begin(), findings.end(),
                       [](const Finding& finding) { return finding.severity == Severity::ERROR; });
}

ChangeReview reviewChange(const std::string& path, const std::string& newText, const std::vector<std::string>& users) {
    std::vector<std::string> targets = users;
    targets.push_back(path);
    CheckOptions changed;
    changed.buffers.emplace(path, newText);
    const CheckResult after = PrefabInspection::checkPrefabs(targets, changed);
    KnownFindings knownErrors(PrefabInspection::checkPrefabs(targets));

    // A prefab that the change nests has its warnings whether it is nested or not.
    std::vector<std::string> allFiles;
    for (const CheckedFile& file : after.files) {
        allFiles.push_back(file.path);
    }
    KnownFindings knownWarnings(PrefabInspection::checkPrefabs(allFiles));

    ChangeReview review;
    for (const Finding& finding : after.findings) {
        const bool isKnown = finding.severity == Severity::ERROR     ? knownErrors.take(finding)
                             : finding.severity == Severity::WARNING ? knownWarnings.take(finding)
                                                                     : true;
        if (!isKnown) {
            review.findings.push_back(finding);
        }
    }
    return review;
}

} // namespace Kiln::PrefabTool
