#include <resource/plain_text.h>

#include <resource/text_sink.h>

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln {

namespace {

/// Deeper elements are indented as those at this depth, so that a text of deeply nested small elements does not become
/// many times as large. The canonical form of prefabs has the same limit.
constexpr std::size_t MAX_INDENTATION = 50;

[[nodiscard]] std::string_view escapeOf(char character) {
    switch (character) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    default:
        return "&gt;";
    }
}

/// Without recursion: documents can be nested deeper than the stack allows.
class PlainTextWriter {
public:
    explicit PlainTextWriter(TextSink& sink) : m_sink(sink) {}

    void write(DataNode root) {
        m_sink.write(XML_DECLARATION);
        begin(root);
        while (!m_open.empty()) {
            if (const DataNode child = m_open.back().next) {
                m_open.back().next = child.nextSibling();
                begin(child);
            } else {
                end();
            }
        }
    }

private:
    /// An element whose children are being written.
    struct Element {
        DataNode node;
        DataNode next;
        bool isIndented; ///< Whether the children have lines of their own.
    };

    [[nodiscard]] bool isIndented() const { return m_open.empty() || m_open.back().isIndented; }

    void begin(DataNode node) {
        const bool isOnOwnLine = isIndented();
        if (isOnOwnLine) {
            indent();
        }
        writeTag("<", node.name());
        const std::string_view text = node.text(m_scratch);
        writeText(text);
        const DataNode child = node.firstChild();
        const bool areChildrenIndented = isOnOwnLine && text.empty();
        if (child) {
            m_open.push_back({node, child, areChildrenIndented});
            endLine(areChildrenIndented);
        } else {
            writeTag("</", node.name());
            endLine(isOnOwnLine);
        }
    }

    void end() {
        const Element element = m_open.back();
        m_open.pop_back();
        if (element.isIndented) {
            indent();
        }
        writeTag("</", element.node.name());
        endLine(isIndented());
    }

    void indent() {
        static const std::string tabs(MAX_INDENTATION, '\t');
        m_sink.write(std::string_view(tabs).substr(0, m_open.size()));
    }

    void endLine(bool hasLine) {
        if (hasLine) {
            m_sink.write("\n");
        }
    }

    void writeTag(std::string_view opening, std::string_view name) {
        m_sink.write(opening);
        m_sink.write(name);
        m_sink.write(">");
    }

    void writeText(std::string_view text) {
        while (!text.empty()) {
            const std::size_t size = text.find_first_of("&<>");
            m_sink.write(text.substr(0, size));
            if (size == std::string_view::npos) {
                return;
            }
            m_sink.write(escapeOf(text[size]));
            text.remove_prefix(size + 1);
        }
    }

    TextSink& m_sink;
    std::vector<Element> m_open;
    std::string m_scratch;
};

} // namespace

void writePlainText(DataNode root, TextSink& sink) {
    PlainTextWriter(sink).write(root);
}

std::string plainText(DataNode root) {
    StringSink sink;
    writePlainText(root, sink);
    return std::move(sink.text);
}

} // namespace Kiln
