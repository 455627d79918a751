#pragma once

#include <common/uuid.h>
#include <prefab_inspection/findings/finding_code.h>

#include <compare>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::PrefabInspection {

/// How serious a finding is. An ERROR is a problem that loading reports as an error, or that makes it fail, or an
/// unresolved conflict of a merge.
enum class Severity { NOTE, WARNING, ERROR };

/// A part of a file. Lines and columns count from 1, columns in bytes. The end is the position after the last byte. All
/// numbers are 0 if the file as a whole is meant.
struct SourceRange {
    std::size_t line = 0;
    std::size_t column = 0;
    std::size_t endLine = 0;
    std::size_t endColumn = 0;

    friend auto operator<=>(const SourceRange&, const SourceRange&) = default;
};

/// A place in a file and what is there.
struct Place {
    std::string file; ///< Resource path.
    SourceRange range;
    std::string text; ///< A phrase without full stop.

    friend auto operator<=>(const Place&, const Place&) = default;
};

/// A change of a file that removes a finding and has no alternative: the bytes of the range are replaced.
struct Fix {
    std::size_t offset = 0; ///< Of the first byte, in the file.
    std::size_t size = 0;   ///< Number of bytes.
    std::string text;       ///< What replaces them.
    std::string title;      ///< Such as "Replace 'HierachyComponent' by 'HierarchyComponent'".
};

/// One problem. Texts that come out of files may have any bytes; whoever shows them must escape control characters.
struct Finding {
    FindingCode code{};
    Severity severity = Severity::ERROR;
    std::string file; ///< Resource path.
    SourceRange range;
    std::string sourceLine; ///< The line where the range begins, without its end; empty if it is very long.
    std::string message;    ///< What is wrong: a sentence.
    std::string cure;       ///< How to fix it: a sentence.

    std::string objectPath;         ///< Names from the root to the object, separated by '/'; empty without an object.
    std::optional<Uuid> objectUuid; ///< Of the object, in the file.

    std::vector<Place> chain; ///< The integration points that lead from a checked prefab to the file, outermost first.
    std::vector<Place> related;          ///< Other places that belong to the problem.
    std::vector<std::string> dependents; ///< Files that nest the file of a broken file, sorted.
    std::optional<Fix> fix;

    /// Distinguishes findings of one code in one file, independent of lines: what the finding is about, such as a type
    /// name or UUID. Baselines and fingerprints are made of it.
    std::string subject;
};

} // namespace Kiln::PrefabInspection
