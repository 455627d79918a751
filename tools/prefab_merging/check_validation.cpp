#include "check_validation.h"

#include <prefab_inspection/checking/checker.h>
#include <prefab_inspection/findings/finding_rules.h>

#include <utility>

namespace Kiln::PrefabMerging {

namespace {

using PrefabInspection::Finding;
using PrefabInspection::FindingCode;
using PrefabInspection::Severity;

/// Whether a merge must not bring such a finding.
[[nodiscard]] bool isProblem(const Finding& finding) {
    switch (finding.code) {
    case FindingCode::UNRESOLVED_CONFLICT:
        return false;
    case FindingCode::PARENT_NOT_FOUND:
    case FindingCode::LINK_TO_NOTHING:
    case FindingCode::LINK_OUT_OF_REACH:
    case FindingCode::OVERRIDE_OF_UNKNOWN_OBJECT:
    case FindingCode::OVERRIDE_OF_UNKNOWN_COMPONENT:
        return true;
    default:
        return finding.severity == Severity::ERROR;
    }
}

/// Whether a finding is about a nested file, whichever object nests it.
[[nodiscard]] bool isAboutFile(FindingCode code) {
    return code == FindingCode::FILE_MISSING || code == FindingCode::PATH_OUTSIDE_ROOTS ||
           code == FindingCode::PATH_LETTER_CASE || code == FindingCode::FILE_UNREADABLE;
}

} // namespace

std::function<std::vector<Problem>(std::string_view text)> checkingProblems(const std::string& resourcePath) {
    return [resourcePath](std::string_view text) {
        PrefabInspection::CheckOptions options;
        options.buffers.emplace(resourcePath, text);
        std::vector<Problem> problems;
        for (const Finding& finding : PrefabInspection::checkPrefabs({resourcePath}, options).findings) {
            if (finding.file != resourcePath || !isProblem(finding)) {
                continue;
            }
            std::string name = PrefabInspection::codeText(finding.code);
            name.append(" ").append(PrefabInspection::findingRule(finding.code).name);
            std::string key = name + " " + finding.subject;
            if (!isAboutFile(finding.code) && finding.objectUuid) {
                key.append(" ").append(finding.objectUuid->toString());
            }
            problems.push_back({std::move(key), finding.objectUuid, std::move(name)});
        }
        return problems;
    };
}

} // namespace Kiln::PrefabMerging
