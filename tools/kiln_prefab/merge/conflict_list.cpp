#include "conflict_list.h"

#include <common/white_space.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/json_text.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <ostream>

namespace Kiln::PrefabTool {

using PrefabMerging::Conflict;
using PrefabMerging::ConflictMarker;
using PrefabMerging::MarkupTree;
using PrefabMerging::OverrideKey;
using PrefabMerging::Place;

namespace {

constexpr int SCHEMA_VERSION = 1;
constexpr std::size_t MAX_VALUE_SIZE = 100;

/// A text on one line, shortened.
[[nodiscard]] std::string shortLine(std::string_view text) {
    std::string line;
    for (const char character : trimWhiteSpace(text)) {
        if (!isWhiteSpace(character)) {
            line += character;
        } else if (line.back() != ' ') {
            line += ' ';
        }
    }
    if (line.size() > MAX_VALUE_SIZE) {
        line.resize(MAX_VALUE_SIZE);
        line += "...";
    }
    return line;
}

/// What stands for a value: the text of an element, "" for none, and XML for anything else.
[[nodiscard]] std::string valueText(const std::optional<std::string>& value) {
    if (!value) {
        return "(none)";
    }
    try {
        const MarkupTree tree(*value);
        if (tree.tops().size() == 1 && !tree.node(0).hasElements && !tree.node(0).isComment()) {
            const std::string text = shortLine(tree.value(tree.node(0)));
            return text.empty() ? "(empty)" : text;
        }
    } catch (const PrefabMerging::IrregularText&) { // Of a file as a whole.
        return shortLine(*value);
    }
    return shortLine(*value);
}

[[nodiscard]] OrderedJson valueJson(const std::optional<std::string>& value) {
    return value ? OrderedJson(*value) : OrderedJson(nullptr);
}

[[nodiscard]] OrderedJson placeJson(const Place& place) {
    OrderedJson overrides = OrderedJson::array();
    for (const OverrideKey& key : place.overrides) {
        overrides.push_back({{"object", key.object}, {"component", key.component}, {"property", key.property}});
    }
    const auto textOrNull = [](const std::string& text) {
        return text.empty() ? OrderedJson(nullptr) : OrderedJson(text);
    };
    return {{"kind", PrefabMerging::nameOf(place.kind)},
            {"object", place.object ? OrderedJson(place.object->toString()) : OrderedJson(nullptr)},
            {"component", textOrNull(place.component)},
            {"componentNumber", place.componentNumber},
            {"element", textOrNull(place.element)},
            {"number", place.number},
            {"overrides", std::move(overrides)}};
}

/// Finds the lines of ascending positions.
class LineCounter {
public:
    explicit LineCounter(const std::string& text) : m_text(text) {}

    [[nodiscard]] std::size_t lineOf(std::size_t position) {
        const auto begin = m_text.begin() + static_cast<std::ptrdiff_t>(m_position);
        const auto end = m_text.begin() + static_cast<std::ptrdiff_t>(position);
        m_line += static_cast<std::size_t>(std::count(begin, end, '\n'));
        m_position = position;
        return m_line;
    }

private:
    const std::string& m_text;
    std::size_t m_position = 0;
    std::size_t m_line = 1;
};

/// "file:line: conflict: ", or without the line if it is 0.
[[nodiscard]] std::string heading(const Terminal& terminal, const std::string& file, std::size_t line) {
    const std::string place = printable(file) + (line == 0 ? std::string() : ":" + std::to_string(line)) + ":";
    return terminal.styled(place, Style::STRONG).append(" ").append(terminal.styled("conflict:", Style::ERROR)) + " ";
}

} // namespace

void addConflicts(const std::string& text, ConflictList& list) {
    LineCounter lines(text);
    for (ConflictMarker& marker : PrefabMerging::findMarkers(text)) {
        list.conflicts.push_back({std::move(marker.conflict), lines.lineOf(marker.range.begin)});
    }
    LineCounter unreadable(text);
    for (const PrefabMerging::Range& range : PrefabMerging::findUnreadableMarkers(text)) {
        list.unreadableLines.push_back(unreadable.lineOf(range.begin));
    }
}

void writeConflicts(Terminal& terminal, const ConflictList& list) {
    std::ostream& stream = terminal.output();
    for (const ListedConflict& listed : list.conflicts) {
        const Conflict& conflict = listed.conflict;
        stream << heading(terminal, list.file, listed.line) << printable(PrefabMerging::describe(conflict.place))
               << ": " << printable(conflict.reason) << "\n    base    " << printable(valueText(conflict.base))
               << "\n    ours    " << printable(valueText(conflict.ours)) << "\n    theirs  "
               << printable(valueText(conflict.theirs)) << '\n';
    }
    for (const std::size_t line : list.unreadableLines) {
        stream << heading(terminal, list.file, line)
               << "the comment cannot be read, because it was edited or is of another version; decide by hand, then "
                  "remove it\n";
    }
}

void writeConflictsJson(Terminal& terminal, const ConflictList& list) {
    OrderedJson conflicts = OrderedJson::array();
    for (const ListedConflict& listed : list.conflicts) {
        const Conflict& conflict = listed.conflict;
        conflicts.push_back({{"place", placeJson(conflict.place)},
                             {"line", listed.line == 0 ? OrderedJson(nullptr) : OrderedJson(listed.line)},
                             {"text", PrefabMerging::describe(conflict.place)},
                             {"reason", conflict.reason},
                             {"base", valueJson(conflict.base)},
                             {"ours", valueJson(conflict.ours)},
                             {"theirs", valueJson(conflict.theirs)}});
    }
    const OrderedJson json{{"schemaVersion", SCHEMA_VERSION},   {"file", list.file},
                           {"mergedChanges", list.takenCount},  {"decidedConflicts", list.decidedCount},
                           {"conflicts", std::move(conflicts)}, {"unreadableComments", list.unreadableLines}};
    terminal.output() << jsonText(json) << '\n';
}

} // namespace Kiln::PrefabTool
