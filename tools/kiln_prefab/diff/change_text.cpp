#include "change_text.h"

#include <common/number_text.h>
#include <common/white_space.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/object_text.h>

#include <map>
#include <ostream>
#include <utility>

namespace Kiln::PrefabTool {

using PrefabComparison::Change;
using PrefabComparison::ChangeKind;
using PrefabComparison::OverrideKey;

namespace {

constexpr const char* ARROW = " -> ";
constexpr const char* INDENT = "    ";

/// A value on one line. Empty ones, and those that begin or end with white space, are quoted.
[[nodiscard]] std::string quoted(const std::string& text) {
    const bool isPlain = !text.empty() && trimWhiteSpace(text).size() == text.size();
    return isPlain ? text : "'" + text + "'";
}

[[nodiscard]] std::string quoted(const std::optional<std::string>& text) {
    return text ? quoted(*text) : "none";
}

[[nodiscard]] std::string fromTo(const Change& change) {
    return quoted(change.before) + ARROW + quoted(change.after);
}

/// The flags by name if the text is a number.
[[nodiscard]] std::string flagsText(const std::optional<std::string>& text) {
    std::uint32_t flags = 0;
    if (!text || !readNumber(*text, flags)) {
        return quoted(text);
    }
    std::string names;
    for (const std::string& name : flagNames(flags)) {
        names += (names.empty() ? "" : ", ") + name;
    }
    return names.empty() ? "none" : names;
}

[[nodiscard]] std::string parentText(const std::optional<std::string>& uuid, const std::string& path) {
    if (!uuid) {
        return "the top";
    }
    return path.empty() ? *uuid : path + " (" + *uuid + ")";
}

[[nodiscard]] std::string componentName(const Change& change) {
    return change.component + (change.occurrence == 0 ? "" : " #" + std::to_string(change.occurrence + 1));
}

/// "9d1c… LampComponent.brightness". The last record of a change may set no property.
[[nodiscard]] std::string recordText(const OverrideKey& key, const std::string& property) {
    std::string text = key.object;
    if (!key.component.empty() || !property.empty()) {
        text.append(" ").append(key.component);
    }
    if (!property.empty()) {
        text.append(".").append(property);
    }
    if (key.occurrence > 0) {
        text.append(" #").append(std::to_string(key.occurrence + 1));
    }
    return text;
}

/// The records of all texts that lead to the value.
[[nodiscard]] std::string overridePath(const Change& change) {
    std::string path;
    for (const OverrideKey& key : change.overrides) {
        const bool isLast = &key == &change.overrides.back();
        path.append(path.empty() ? "" : " > ").append(recordText(key, isLast ? change.property : key.property));
    }
    return path;
}

/// An override that only one of the texts has.
[[nodiscard]] std::string overrideText(const Change& change, const std::optional<std::string>& value) {
    const std::string text = "override " + overridePath(change);
    if (change.property.empty()) {
        return text + (change.overrides.back().component.empty() ? " without components" : " without properties");
    }
    return text + " = " + quoted(value);
}

[[nodiscard]] std::string inheritanceText(const Change& change) {
    switch (change.inheritance) {
    case Change::Inheritance::NONE:
        return {};
    case Change::Inheritance::NESTED_FILE:
        return " (inherited from " + change.source + ")";
    case Change::Inheritance::OVERRIDE:
        break;
    }
    return " (inherited by an override in " + change.source + ")";
}

[[nodiscard]] std::string valueName(const Change& change) {
    const std::string component = componentName(change);
    return component.empty() ? change.property : component + "." + change.property;
}

/// A line of a change, without its mark.
[[nodiscard]] std::string lineOf(const Change& change) {
    switch (change.kind) {
    case ChangeKind::OBJECT_MOVED:
        return "moved: " + parentText(change.before, change.content[0].second) + ARROW +
               parentText(change.after, change.content[1].second);
    case ChangeKind::OBJECT_RENAMED:
        return "renamed: " + fromTo(change);
    case ChangeKind::FLAGS_CHANGED:
        return "flags: " + flagsText(change.before) + ARROW + flagsText(change.after);
    case ChangeKind::COMPONENT_ADDED:
    case ChangeKind::COMPONENT_REMOVED:
        return componentName(change);
    case ChangeKind::VALUE_ADDED:
        return valueName(change) + " = " + quoted(change.after);
    case ChangeKind::VALUE_REMOVED:
        return valueName(change) + " = " + quoted(change.before);
    case ChangeKind::OVERRIDE_ADDED:
        return overrideText(change, change.after);
    case ChangeKind::OVERRIDE_REMOVED:
        return overrideText(change, change.before);
    case ChangeKind::OVERRIDE_CHANGED:
        return "override " + overridePath(change) + ": " + fromTo(change);
    case ChangeKind::NESTED_PREFAB_CHANGED:
        return "nested prefab: " + fromTo(change);
    case ChangeKind::UNUSED_CONTENT_CHANGED:
        return "element that is not used, " + valueName(change) + ": " + fromTo(change);
    default:
        return valueName(change) + ": " + fromTo(change);
    }
}

struct Mark {
    const char* text;
    Style style;
};

[[nodiscard]] Mark markOf(ChangeKind kind) {
    switch (kind) {
    case ChangeKind::OBJECT_ADDED:
    case ChangeKind::COMPONENT_ADDED:
    case ChangeKind::VALUE_ADDED:
    case ChangeKind::OVERRIDE_ADDED:
        return {"+ ", Style::ADDED};
    case ChangeKind::OBJECT_REMOVED:
    case ChangeKind::COMPONENT_REMOVED:
    case ChangeKind::VALUE_REMOVED:
    case ChangeKind::OVERRIDE_REMOVED:
        return {"- ", Style::ERROR};
    default:
        return {"~ ", Style::PLAIN};
    }
}

[[nodiscard]] std::string objectText(const Change& change) {
    if (change.isObjectIndex) {
        return "missing object " + change.objectPath;
    }
    return change.uuid.empty() && change.objectPath.empty() ? "the document"
                                                            : change.objectPath + " (" + change.uuid + ")";
}

class ChangeWriter {
public:
    explicit ChangeWriter(Terminal& terminal) : m_terminal(terminal), m_stream(terminal.output()) {}

    void write(const Change& change) {
        const Mark mark = markOf(change.kind);
        const std::string object = objectText(change);
        if (change.kind == ChangeKind::OBJECT_ADDED || change.kind == ChangeKind::OBJECT_REMOVED) {
            writeLine("", mark, object + inheritanceText(change) + componentsOf(change));
            m_object.clear();
            return;
        }
        if (object != m_object) {
            writeLine("", {"~ ", Style::STRONG}, object);
            m_object = object;
        }
        writeLine(INDENT, mark, lineOf(change) + inheritanceText(change));
        if (change.kind == ChangeKind::COMPONENT_ADDED || change.kind == ChangeKind::COMPONENT_REMOVED) {
            for (const auto& [name, value] : change.content) {
                writeLine("        ", mark, name + " = " + quoted(value));
            }
        }
    }

private:
    [[nodiscard]] static std::string componentsOf(const Change& change) {
        std::string text;
        for (const auto& [type, unused] : change.content) {
            text += (text.empty() ? ": " : ", ") + type;
        }
        return text;
    }

    void writeLine(const char* indent, const Mark& mark, const std::string& text) {
        m_stream << indent << m_terminal.styled(mark.text + printable(text), mark.style) << '\n';
    }

    Terminal& m_terminal;
    std::ostream& m_stream;
    std::string m_object; ///< Under whose line the changes are written.
};

} // namespace

void writeChanges(Terminal& terminal, const std::vector<Change>& changes) {
    ChangeWriter writer(terminal);
    for (const Change& change : changes) {
        writer.write(change);
    }
}

void writeBrief(Terminal& terminal, const std::string& name, const std::vector<Change>& changes) {
    if (changes.empty()) {
        return;
    }
    std::map<std::pair<bool, ChangeKind>, std::size_t> counts;
    for (const Change& change : changes) {
        ++counts[{change.inheritance != Change::Inheritance::NONE, change.kind}];
    }
    std::string text;
    for (const auto& [key, count] : counts) {
        text += text.empty() ? ": " : ", ";
        text += std::to_string(count) + (key.first ? " inherited-" : " ");
        text += kindName(key.second);
    }
    terminal.output() << printable(name + text) << '\n';
}

} // namespace Kiln::PrefabTool
