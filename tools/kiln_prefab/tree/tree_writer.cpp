#include "tree_writer.h"

#include <core/printable_text.h>
#include <kiln_prefab/line_text.h>

#include <algorithm>
#include <ostream>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

using PrefabInspection::ComposedValue;
using PrefabInspection::PrefabView;
using PrefabInspection::ValueLayer;

namespace {

/// Objects that are deeper are not indented; their lines begin with their depth instead. Otherwise the output of a
/// chain of objects would grow with the square of its length.
constexpr std::size_t MAX_INDENTED_DEPTH = 40;

[[nodiscard]] bool isSetByFile(const ComposedValue& value) {
    const auto isFromFile = [](const ValueLayer& layer) {
        return layer.kind != ValueLayer::Kind::DEFAULT && layer.effect == ValueLayer::Effect::WINS;
    };
    return std::any_of(value.layers.begin(), value.layers.end(), isFromFile) ||
           std::any_of(value.children.begin(), value.children.end(), isSetByFile);
}

/// Writes the objects without recursion: a chain of parents can be longer than the stack allows.
class TreeWriter {
public:
    TreeWriter(std::ostream& stream, const PrefabView& view, const ObjectTree& tree, const TreeOptions& options)
        : m_stream(stream), m_view(view), m_tree(tree), m_options(options) {}

    void write() {
        for (const std::size_t top : m_tree.tops()) {
            if (m_tree.isKept(top)) {
                writeObject(top, "", "");
                writePending();
            }
        }
    }

private:
    struct Line {
        std::size_t index;
        std::string indent;
        bool isLast; ///< Of its parent's children that are shown.
    };

    void writePending() {
        while (!m_pending.empty()) {
            const Line line = std::move(m_pending.back());
            m_pending.pop_back();
            const std::size_t level = m_tree.level(line.index);
            if (level > MAX_INDENTED_DEPTH) {
                writeObject(line.index, "(" + std::to_string(level) + ") ", "");
            } else {
                writeObject(line.index, line.indent + (line.isLast ? "└── " : "├── "),
                            line.indent + (line.isLast ? "    " : "│   "));
            }
        }
    }

    /// `indent` is that of the lines below the object.
    void writeObject(std::size_t index, const std::string& start, const std::string& indent) {
        std::vector<std::size_t> children;
        for (const std::size_t child : m_tree.children(index)) {
            if (m_tree.isKept(child)) {
                children.push_back(child);
            }
        }
        const bool isCut = m_tree.level(index) >= m_options.depth && !children.empty();
        m_stream << start << describe(index);
        if (isCut) {
            m_stream << " … " << counted(children.size(), "object") << " below";
            children.clear();
        }
        m_stream << '\n';
        if (m_options.detail == Detail::VALUES && m_tree.isMatch(index)) {
            writeValues(index, indent + (children.empty() ? "    " : "│   "));
        }
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            m_pending.push_back({*child, indent, child == children.rbegin()});
        }
    }

    [[nodiscard]] std::string describe(std::size_t index) const {
        const PrefabView::Object object = m_view.object(index);
        std::string text = object.name;
        if (m_options.detail != Detail::OBJECTS) {
            text += componentsText(index);
        }
        text += flagsSuffix(object.flags);
        if (m_options.isComposed) {
            text += " from " + elementPlace(object.origin);
            text += object.rootOrigin ? " and " + elementPlace(object.rootOrigin) : std::string();
        } else if (!object.nested.empty()) {
            text += " nests " + object.nested;
        }
        text += positionText(object);
        if (m_options.showsUuids) {
            text += ", UUID " + object.uuid.toString();
            text += m_options.isComposed ? ", in the file " + object.fileUuid.toString() : std::string();
        }
        return printable(text);
    }

    [[nodiscard]] std::string componentsText(std::size_t index) const {
        std::string text = " [";
        const char* separator = "";
        for (const PrefabView::Component& component : m_view.components(index)) {
            text += separator + component.type;
            text += !component.isKnown ? " (unknown)" : component.isRead ? "" : " (not read)";
            separator = ", ";
        }
        return text + "]";
    }

    [[nodiscard]] std::string positionText(const PrefabView::Object& object) const {
        switch (object.position) {
        case PrefabView::Position::ROOT:
            return m_options.isComposed || m_tree.tops().size() == 1 ? "" : " (root)";
        case PrefabView::Position::CHILD:
            return "";
        case PrefabView::Position::BELOW_NESTED:
            return " (below " + object.remark + ")";
        case PrefabView::Position::NO_PARENT:
            return object.remark.empty() ? " (without parent)" : " (parent " + object.remark + " not found)";
        case PrefabView::Position::CYCLE:
            break;
        }
        return " (parent cycle: its parent is '" + object.remark + "')";
    }

    void writeValues(std::size_t index, const std::string& indent) {
        const std::vector<PrefabView::Component> components = m_view.components(index);
        for (std::size_t i = 0; i < components.size(); ++i) {
            std::vector<ComposedValue> values = m_view.values(index, i);
            std::erase_if(values, [](const ComposedValue& value) { return !isSetByFile(value); });
            forEachText(
                values, [this, &indent, &component = components[i]](const std::string& path, const std::string& text) {
                    m_stream << indent << printable(component.type + "." + path + " = " + shortenedText(text)) << '\n';
                });
        }
    }

    std::ostream& m_stream;
    const PrefabView& m_view;
    const ObjectTree& m_tree;
    const TreeOptions& m_options;
    std::vector<Line> m_pending;
};

} // namespace

void writeTree(std::ostream& stream, const PrefabView& view, const ObjectTree& tree, const TreeOptions& options) {
    TreeWriter(stream, view, tree, options).write();
}

void writeTreeJson(std::ostream& stream, const PrefabView& view, const ObjectTree& tree, const TreeOptions& options) {
    const char* separator = "\n";
    for (std::size_t i = 0; i < view.size(); ++i) {
        if (tree.isKept(i) && tree.level(i) <= options.depth) {
            stream << separator << jsonText(objectJson(view, i, options.isComposed, options.detail));
            separator = ",\n";
        }
    }
}

} // namespace Kiln::PrefabTool
