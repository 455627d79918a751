#include "text_output.h"

#include <cstdio>
#include <kiln_prefab/line_text.h>
#include <ostream>
#include <vector>

namespace Kiln::PrefabTool {

namespace {

[[nodiscard]] std::string summary(std::size_t objects, std::size_t files, std::size_t frames,
                                  std::chrono::steady_clock::duration duration) {
    char milliseconds[32];
    static_cast<void>(std::snprintf(milliseconds, sizeof milliseconds, "%.1f ms",
                                    std::chrono::duration<double, std::milli>(duration).count()));
    return counted(objects, "object") + ", " + counted(files, "prefab file") + ", " + counted(frames, "frame") + ", " +
           milliseconds;
}

[[nodiscard]] std::string describe(const ObjectRecord& object) {
    std::string text = printable(object.name) + " [";
    const char* separator = "";
    for (const std::string& component : object.components) {
        text += separator + printable(component);
        separator = ", ";
    }
    text += "]";
    if (!object.isActive) {
        text += " (inactive)";
    }
    if (!object.prefab.empty()) {
        text += " from " + printable(object.prefab);
    }
    return text;
}

/// Objects that are deeper are not indented; their lines begin with their depth instead. Otherwise the output of a
/// chain of objects would grow with the square of its length.
constexpr std::size_t MAX_INDENTED_DEPTH = 40;

/// Writes the objects as trees, without recursion: a chain of parents can be longer than the stack allows.
class TreeWriter {
public:
    TreeWriter(std::ostream& stream, const std::vector<ObjectRecord>& objects)
        : m_stream(stream), m_objects(objects), m_children(objects.size()) {
        for (std::size_t index = 0; index < objects.size(); ++index) {
            (objects[index].parent ? m_children[*objects[index].parent] : m_tops).push_back(index);
        }
    }

    void write() {
        for (const std::size_t top : m_tops) {
            m_stream << describe(m_objects[top]) << '\n';
            pushChildren(top, 1, "");
            writePending();
        }
    }

private:
    struct Line {
        std::size_t index;
        std::size_t depth; ///< Below the top of the tree.
        std::string indent;
        bool isLast; ///< Of its parent's children.
    };

    void pushChildren(std::size_t index, std::size_t depth, const std::string& indent) {
        const std::vector<std::size_t>& children = m_children[index];
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            m_pending.push_back({*child, depth, indent, child == children.rbegin()});
        }
    }

    void writePending() {
        while (!m_pending.empty()) {
            const Line line = std::move(m_pending.back());
            m_pending.pop_back();
            if (line.depth > MAX_INDENTED_DEPTH) {
                m_stream << '(' << line.depth << ") " << describe(m_objects[line.index]) << '\n';
                pushChildren(line.index, line.depth + 1, "");
                continue;
            }
            m_stream << line.indent << (line.isLast ? "└── " : "├── ") << describe(m_objects[line.index]) << '\n';
            pushChildren(line.index, line.depth + 1, line.indent + (line.isLast ? "    " : "│   "));
        }
    }

    std::ostream& m_stream;
    const std::vector<ObjectRecord>& m_objects;
    std::vector<std::vector<std::size_t>> m_children; ///< By index, in the order of creation.
    std::vector<std::size_t> m_tops;
    std::vector<Line> m_pending;
};

} // namespace

void writeText(std::ostream& stream, const InstanceRecord& record, std::size_t filesCount) {
    stream << printable(record.prefab) << ", instance " << record.instanceUuid.toString() << '\n';
    TreeWriter(stream, record.objects).write();
    stream << summary(record.objects.size(), filesCount, record.frames, record.duration) << '\n';
}

void writeTotals(std::ostream& stream, const Totals& totals) {
    stream << "total: " << totals.created << " of " << counted(totals.instances, "instance") << ", "
           << summary(totals.objects, totals.files.size(), totals.frames, totals.duration) << '\n';
}

} // namespace Kiln::PrefabTool
