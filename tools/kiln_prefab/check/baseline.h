#pragma once

#include <prefab_inspection/findings/finding.h>

#include <compare>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabTool {

/// What identifies a finding across edits of its file that only move lines.
struct FindingKey {
    std::string file;
    std::string code;
    std::string subject;        ///< With U+FFFD for bytes that are not UTF-8.
    std::size_t occurrence = 1; ///< Among the findings of the file with that code and subject, in order.

    friend auto operator<=>(const FindingKey&, const FindingKey&) = default;
};

/// The keys of findings that are sorted as a CheckResult has them, in the same order.
[[nodiscard]] std::vector<FindingKey> findingKeys(const std::vector<PrefabInspection::Finding>& findings);

/// Findings that are known and accepted. The file is JSON: one entry per line, sorted, so that version control merges
/// it well.
class Baseline {
public:
    /// Reads the text of a baseline file; `name` is what messages call it. Throws CommandError.
    [[nodiscard]] static Baseline read(std::string_view text, const std::string& name);

    [[nodiscard]] std::string text() const;

    [[nodiscard]] bool contains(const FindingKey& key) const { return m_keys.contains(key); }
    void add(FindingKey key) { m_keys.insert(std::move(key)); }
    void remove(const FindingKey& key) { m_keys.erase(key); }

    [[nodiscard]] const std::set<FindingKey>& keys() const noexcept { return m_keys; }

private:
    std::set<FindingKey> m_keys;
};

} // namespace Kiln::PrefabTool
