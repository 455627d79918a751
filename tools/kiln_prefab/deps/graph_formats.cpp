#include "graph_formats.h"

#include <kiln_prefab/line_text.h>
#include <kiln_prefab/view/json_text.h>

#include <algorithm>
#include <cctype>
#include <ostream>
#include <set>
#include <utility>

namespace Kiln::PrefabTool {

using PrefabInspection::DependencyGraph;
using PrefabInspection::PrefabFile;

namespace {

[[nodiscard]] const char* statusName(PrefabFile::Status status) {
    switch (status) {
    case PrefabFile::Status::READ:
        return "read";
    case PrefabFile::Status::MISSING:
        return "missing";
    case PrefabFile::Status::REFUSED:
        return "refused";
    case PrefabFile::Status::UNREADABLE:
        return "unreadable";
    case PrefabFile::Status::NOT_WELL_FORMED:
        break;
    }
    return "not well formed";
}

/// The pairs of files that an edge connects, each once.
[[nodiscard]] std::set<std::pair<std::size_t, std::size_t>> connections(const DependencyGraph& graph) {
    std::set<std::pair<std::size_t, std::size_t>> pairs;
    for (const DependencyGraph::Edge& edge : graph.edges()) {
        pairs.emplace(edge.user, edge.used);
    }
    return pairs;
}

/// A printable text inside of quotation marks, with a backslash before each mark and backslash.
[[nodiscard]] std::string dotText(const std::string& text) {
    std::string quoted = "\"";
    for (const char character : printable(text)) {
        if (character == '"' || character == '\\') {
            quoted += '\\';
        }
        quoted += character;
    }
    return quoted + "\"";
}

/// A text inside of quotation marks, with the characters that Mermaid interprets as entities.
[[nodiscard]] std::string mermaidText(const std::string& text) {
    std::string quoted = "\"";
    for (const char character : printable(text)) {
        switch (character) {
        case '"':
        case '#':
        case '&':
        case '<':
        case '>':
        case ';':
        case '`':
        case '\\':
            quoted += "#" + std::to_string(static_cast<int>(character)) + ";";
            break;
        default:
            quoted += character;
        }
    }
    return quoted + "\"";
}

} // namespace

void writeGraphJson(std::ostream& stream, const DependencyGraph& graph) {
    stream << R"({"files":[)";
    const char* separator = "\n";
    for (const DependencyGraph::File& file : graph.files()) {
        OrderedJson json{{"path", file.path},
                         {"target", file.isTarget},
                         {"status", statusName(file.status)},
                         {"problem", file.problem.empty() ? OrderedJson(nullptr) : OrderedJson(file.problem)}};
        json["nested"] = OrderedJson::array();
        for (const std::size_t index : file.uses) {
            const DependencyGraph::Edge& edge = graph.edges()[index];
            json["nested"].push_back({{"path", graph.files()[edge.used].path},
                                      {"object", edge.place.text},
                                      {"line", edge.place.range.line},
                                      {"column", edge.place.range.column},
                                      {"override", edge.isOverride}});
        }
        stream << separator << jsonText(json);
        separator = ",\n";
    }
    stream << "\n]}\n";
}

void writeDot(std::ostream& stream, const DependencyGraph& graph) {
    stream << "digraph prefabs {\n";
    for (const DependencyGraph::File& file : graph.files()) {
        stream << "    " << dotText(file.path);
        if (file.status != PrefabFile::Status::READ) {
            stream << " [color=red, label=" << dotText(file.path + " (" + statusName(file.status) + ")") << "]";
        }
        stream << ";\n";
    }
    for (const auto& [user, used] : connections(graph)) {
        stream << "    " << dotText(graph.files()[user].path) << " -> " << dotText(graph.files()[used].path) << ";\n";
    }
    stream << "}\n";
}

void writeMermaid(std::ostream& stream, const DependencyGraph& graph) {
    stream << "flowchart LR\n";
    for (std::size_t i = 0; i < graph.files().size(); ++i) {
        const DependencyGraph::File& file = graph.files()[i];
        const bool isRead = file.status == PrefabFile::Status::READ;
        stream << "    f" << i << "["
               << mermaidText(isRead ? file.path : file.path + " (" + statusName(file.status) + ")") << "]\n";
    }
    for (const auto& [user, used] : connections(graph)) {
        stream << "    f" << user << " --> f" << used << '\n';
    }
}

/// Names with control characters can't be written in a rule; the loader refuses them anyway.
[[nodiscard]] static bool isMakeName(const std::string& name) {
    return std::none_of(name.begin(), name.end(),
                        [](char character) { return std::iscntrl(static_cast<unsigned char>(character)) != 0; });
}

void writeMakeRules(std::ostream& stream, const DependencyGraph& graph,
                    const std::function<std::string(const std::string&)>& fileName) {
    for (std::size_t target = 0; target < graph.files().size(); ++target) {
        if (!graph.files()[target].isTarget || !isMakeName(graph.files()[target].path)) {
            continue;
        }
        stream << makeName(fileName(graph.files()[target].path)) << ":";
        const std::vector<bool> isNeeded = graph.reachable({target});
        for (std::size_t i = 0; i < isNeeded.size(); ++i) {
            if (isNeeded[i] && i != target && graph.files()[i].status != PrefabFile::Status::MISSING &&
                isMakeName(graph.files()[i].path)) {
                stream << " \\\n  " << makeName(fileName(graph.files()[i].path));
            }
        }
        stream << '\n';
    }
}

/// As compilers write it: a backslash counts as such except before white space, where it escapes, so that those before
/// a space and at the end of a name are doubled.
std::string makeName(const std::string& name) {
    std::string text;
    std::size_t backslashes = 0; // Directly before the character.
    for (const char character : name) {
        switch (character) {
        case ' ':
        case '\t':
            text.append(backslashes + 1, '\\');
            break;
        case '$':
            text += '$';
            break;
        case '#':
            text.append(backslashes + 1, '\\');
            break;
        case ':':
        case '*':
        case '?':
        case '[':
        case '%':
            text += '\\';
            break;
        default:
            break;
        }
        text += character;
        backslashes = character == '\\' ? backslashes + 1 : 0;
    }
    return text + std::string(backslashes, '\\');
}

} // namespace Kiln::PrefabTool
