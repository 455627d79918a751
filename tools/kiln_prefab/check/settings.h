#pragma once

#include <prefab_inspection/findings/finding.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabTool {

/// What is done with the findings of a code: reported with a severity, or not at all.
enum class Level { OFF, NOTE, WARNING, ERROR };

/// "off", "note", "warning" or "error".
[[nodiscard]] std::string_view levelText(Level level);
[[nodiscard]] std::optional<Level> levelOf(std::string_view text);

/// The code that a user means, by its text ("KP0101") or the name of its rule ("not-well-formed"). Throws CommandError
/// for any other text and names the nearest name.
[[nodiscard]] PrefabInspection::FindingCode requireCode(const std::string& text);

/// A value and where it was set: "command line" or "FILE:LINE".
template <class T>
struct Setting {
    T value;
    std::string origin;
};

/// Decides which findings of a file are shown, and how serious they are. An absent value has its default.
///
/// Settings of several sources are combined by overriding those of the farther source with those of the nearer one.
struct Settings {
    /// Levels that differ from those of the rules, by code.
    std::map<PrefabInspection::FindingCode, Setting<Level>> levels;

    /// If set, findings of other codes are not shown. It does not switch on a code whose level is OFF.
    std::optional<Setting<std::set<PrefabInspection::FindingCode>>> only;

    std::optional<Setting<bool>> strict;          ///< Whether warnings are failures. Default: false.
    std::optional<Setting<bool>> unused;          ///< Whether unused prefabs are reported. Default: false.
    std::optional<Setting<std::string>> baseline; ///< The name of a file. Default: none.

    /// Takes over all values that `nearer` sets.
    void overrideWith(const Settings& nearer);

    /// The severity with which a finding of the file is shown; none if it is not shown.
    [[nodiscard]] std::optional<PrefabInspection::Severity>
    shownSeverity(const PrefabInspection::Finding& finding) const;

    /// Whether a finding of that severity makes the check fail.
    [[nodiscard]] bool isFailure(PrefabInspection::Severity severity) const;

    [[nodiscard]] bool isStrict() const { return strict && strict->value; }
    [[nodiscard]] bool reportsUnused() const { return unused && unused->value; }
};

/// Sets the level of a code to OFF. Throws CommandError if `settings` has another level for it from the same source.
void ignoreCode(Settings& settings, PrefabInspection::FindingCode code, const std::string& origin);

/// Reads "CODE=LEVEL". Throws CommandError.
void addLevel(Settings& settings, const std::string& text, const std::string& origin);

/// Reads the text of a settings file. `name` is what messages call the file; `folder` is the directory to which its
/// paths are relative, empty for the current one. Throws CommandError with the text "NAME:LINE: what is wrong" for
/// everything that has no meaning.
[[nodiscard]] Settings readSettings(std::string_view text, const std::string& name, const std::string& folder);

/// One line per setting: its name, its value and its origin, all printable. The codes with a level of their own come
/// last.
[[nodiscard]] std::string describeSettings(const Settings& settings);

} // namespace Kiln::PrefabTool
