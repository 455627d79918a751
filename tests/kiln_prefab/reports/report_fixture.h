#pragma once

#include <kiln_prefab/reports/report.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace Kiln::PrefabToolTests {

using PrefabInspection::CheckedFile;
using PrefabInspection::CheckResult;
using PrefabInspection::Finding;
using PrefabInspection::FindingCode;
using PrefabInspection::Severity;
using PrefabTool::ReportFormat;
using PrefabTool::ReportOptions;

/// Every character that a file can hold and that no report may write raw: a terminal's escape sequence, a line break, a
/// carriage return, a separator of lines, a control of the direction of writing, and a byte that is not UTF-8.
inline const std::string HOSTILE = "a\x1b[31mb\nc\rd\xe2\x80\xa8"
                                   "e\xe2\x80\xae"
                                   "f\xff"
                                   "g";

/// The same as \xNN.
inline const std::string HOSTILE_SHOWN = "a\\x1b[31mb\\x0ac\\x0dd\\xe2\\x80\\xa8e\\xe2\\x80\\xaef\\xffg";

/// A warning for an unknown component in line 12 of quay.prefab.
[[nodiscard]] inline Finding unknownComponent() {
    Finding finding;
    finding.code = FindingCode::UNKNOWN_COMPONENT;
    finding.severity = Severity::WARNING;
    finding.file = "quay.prefab";
    finding.range = {12, 9, 12, 17};
    finding.sourceLine = "\t\t<type>LampComp</type>";
    finding.message = "No component type 'LampComp' is registered.";
    finding.cure = "Write 'LampComponent'.";
    finding.subject = "LampComp";
    return finding;
}

/// An error without position.
[[nodiscard]] inline Finding missingFile() {
    Finding finding;
    finding.code = FindingCode::FILE_MISSING;
    finding.severity = Severity::ERROR;
    finding.file = "lost.prefab";
    finding.message = "There is no file of this path.";
    return finding;
}

/// An error with everything that a finding can have.
[[nodiscard]] inline Finding fullFinding() {
    Finding finding;
    finding.code = FindingCode::UNREADABLE_VALUE;
    finding.severity = Severity::ERROR;
    finding.file = "props/lamp.prefab";
    finding.range = {7, 8, 7, 11};
    finding.sourceLine = "<isLit>yes</isLit>";
    finding.message = "'yes' is not a value of the type bool.";
    finding.cure = "Write 'true' or 'false'.";
    finding.objectPath = "Lamp/Bulb";
    finding.objectUuid = Uuid(0, 2);
    finding.chain = {{"harbour.prefab", {40, 3, 40, 20}, "integration point 'Quay'"},
                     {"quay.prefab", {30, 2, 30, 18}, "integration point 'Lamp'"}};
    finding.related = {{"props/lamp.prefab", {3, 1, 3, 5}, "the object"}};
    finding.dependents = {"harbour.prefab", "quay.prefab"};
    finding.fix = PrefabInspection::Fix{120, 3, "true", "Replace 'yes' by 'true'"};
    finding.subject = "LampComponent.isLit";
    return finding;
}

/// A finding of which every text is hostile.
[[nodiscard]] inline Finding hostileFinding() {
    Finding finding = fullFinding();
    finding.file = HOSTILE;
    finding.sourceLine = HOSTILE;
    finding.range = {1, 1, 1, 2};
    finding.message = HOSTILE;
    finding.cure = HOSTILE;
    finding.objectPath = HOSTILE;
    finding.chain = {{HOSTILE, {1, 1, 1, 1}, HOSTILE}};
    finding.related = {{HOSTILE, {1, 1, 1, 1}, HOSTILE}};
    finding.dependents = {HOSTILE, "z.prefab"};
    finding.fix = PrefabInspection::Fix{0, 1, HOSTILE, HOSTILE};
    finding.subject = HOSTILE;
    return finding;
}

[[nodiscard]] inline CheckedFile checkedFile(const std::string& path) {
    CheckedFile file;
    file.path = path;
    file.isTarget = true;
    file.bytes = 1000;
    file.contentHash = 0x1234;
    return file;
}

[[nodiscard]] inline std::string report(ReportFormat format, const CheckResult& result, ReportOptions options = {}) {
    options.toolVersion = "1.2.3";
    std::ostringstream stream;
    makeReport(format, std::move(options))->write(result, stream);
    return stream.str();
}

/// Whether a text has a control character other than tab and line break, or a character that HOSTILE has.
[[nodiscard]] inline bool hasRawCharacters(std::string_view text) {
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if ((byte < 0x20 && byte != '\t' && byte != '\n') || byte == 0x7f || byte == 0xff) {
            return true;
        }
    }
    return text.find("\xe2\x80\xa8") != std::string_view::npos || text.find("\xe2\x80\xae") != std::string_view::npos;
}

} // namespace Kiln::PrefabToolTests
