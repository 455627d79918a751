#pragma once

#include <prefab_comparison/canonical_text.h>
#include <prefab_comparison/change.h>
#include <prefab_comparison/document_comparison.h>
#include <prefab_comparison/loaded_document.h>
#include <support/prefab_text.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabComparisonTests {

using PrefabComparison::Change;
using PrefabComparison::ChangeKind;
using PrefabComparison::LoadedDocument;
using TestSupport::element;
using TestSupport::id;
using TestSupport::PrefabText;

/// A change in one line: "kind uuid path component[#n].property (override keys): before -> after". Absent parts are
/// left out, and UUIDs are those of id() without their zeros.
[[nodiscard]] inline std::string lineOf(const Change& change) {
    const auto shortened = [](std::string uuid) {
        if (uuid.size() == 36) {
            uuid.erase(0, std::min(uuid.find_first_not_of("0-"), uuid.size() - 1));
        }
        return uuid;
    };
    std::string line(kindName(change.kind));
    line += change.inheritance == Change::Inheritance::NONE          ? ""
            : change.inheritance == Change::Inheritance::NESTED_FILE ? " [nested " + change.source + "]"
                                                                     : " [override " + change.source + "]";
    line += change.uuid.empty() ? "" : " " + shortened(change.uuid);
    line += change.objectPath.empty() ? "" : " " + change.objectPath;
    line += change.component.empty() ? "" : " " + change.component;
    line += change.occurrence == 0 ? "" : "#" + std::to_string(change.occurrence);
    line += change.property.empty() ? "" : " ." + change.property;
    for (const PrefabComparison::OverrideKey& key : change.overrides) {
        line += " (" + shortened(key.object) + " " + key.component + " " + key.property;
        line += key.occurrence == 0 ? ")" : " #" + std::to_string(key.occurrence) + ")";
    }
    if (change.before || change.after) {
        line += ": " + shortened(change.before.value_or("none")) + " -> " + shortened(change.after.value_or("none"));
    }
    return line;
}

[[nodiscard]] inline std::vector<std::string> canonicalLines(const LoadedDocument& document) {
    std::vector<std::string> lines;
    writeCanonicalText(document, [&lines](const std::string& line) { lines.push_back(line); });
    return lines;
}

/// The changes between two documents, one line each. The canonical texts have to differ if and only if there are any.
[[nodiscard]] inline std::vector<std::string> changesBetween(const std::string& before, const std::string& after) {
    const LoadedDocument a("a.prefab", FileContent::copyOf(before));
    const LoadedDocument b("b.prefab", FileContent::copyOf(after));
    EXPECT_EQ(a.problem(), "");
    EXPECT_EQ(b.problem(), "");
    std::vector<std::string> lines;
    for (const Change& change : compareDocuments(a, b)) {
        lines.push_back(lineOf(change));
    }
    EXPECT_EQ(lines.empty(), canonicalLines(a) == canonicalLines(b));
    EXPECT_EQ(lines.empty(), compareDocuments(b, a).empty());
    return lines;
}

[[nodiscard]] inline std::vector<std::string> changesBetween(const PrefabText& before, const PrefabText& after) {
    return changesBetween(before.text(), after.text());
}

} // namespace Kiln::PrefabComparisonTests
