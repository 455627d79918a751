#pragma once

#include <prefab_inspection/checking/checker.h>

#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace Kiln::PrefabTool {

/// Joins the results of checks, such as those of shards. What several of them have found is in the result once.
class ReportMerger {
public:
    /// Throws CommandError for a result that contains a file in another state than the results before.
    void add(PrefabInspection::CheckResult result);

    [[nodiscard]] PrefabInspection::CheckResult take();

private:
    /// In the order in which results are sorted; the subject comes last.
    using Key =
        std::tuple<std::string, PrefabInspection::SourceRange, PrefabInspection::FindingCode, std::string, std::string>;

    void addFile(PrefabInspection::CheckedFile file);

    /// A check may find the same twice. Then it is in the merged result as often as in the result that has it most.
    std::map<Key, std::vector<PrefabInspection::Finding>> m_findings;
    std::map<std::string, PrefabInspection::CheckedFile> m_files;
};

/// Reads files with reports in the format JSON and joins them. Throws CommandError.
[[nodiscard]] PrefabInspection::CheckResult mergeReports(const std::vector<std::string>& fileNames);

} // namespace Kiln::PrefabTool
