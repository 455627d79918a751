#include "element_writer.h"

#include <common/white_space.h>

namespace Kiln::PrefabMerging {

namespace {

/// The element with the indentation of its new place. Where it comes from is seen before its end tag.
[[nodiscard]] std::string fitted(std::string_view element, std::string_view blank) {
    const std::size_t endTag = element.rfind("</");
    const Range own = blankBefore(element, endTag == std::string_view::npos ? 0 : endTag);
    const std::string_view from = part(element, own);
    return from.find('\n') == std::string_view::npos ? std::string(element) : reindented(element, from, blank);
}

} // namespace

Container Container::of(const KeyedDocument& document, const KeyedSection& section) {
    const std::string_view tag = document.raw(section.startTag);
    const std::string_view name = tag.empty() ? tag : tag.substr(1, tag.find_first_of(" \t\r\n/>") - 1);
    return {section.startTag, section.content, name, section.isEmptyElement};
}

void ElementWriter::append(const Container& container, std::string_view element, std::size_t depth) {
    insertAfter(blankBefore(m_text, container.content.end, container.content.begin).begin, container, element, depth);
}

void ElementWriter::insertAfter(std::size_t position, const Container& container, std::string_view element,
                                std::size_t depth) {
    const std::string blank = blankFor(container, depth);
    std::string text = blank + fitted(element, blank);
    if (container.isEmptyElement) {
        Filled& filled = m_filled[container.startTag.begin];
        filled.startTag = container.startTag;
        filled.name = container.name;
        filled.text += text;
        return;
    }
    m_edits.insert(position, std::move(text));
}

void ElementWriter::replace(Range range, std::string_view element) {
    m_edits.replace(range, fitted(element, part(m_text, blankBefore(m_text, range.begin))));
}

void ElementWriter::remove(Range element) {
    m_edits.remove({blankBefore(m_text, element.begin).begin, element.end});
}

void ElementWriter::finish() {
    for (const auto& [begin, filled] : m_filled) {
        std::string tag(part(m_text, filled.startTag));
        tag.erase(tag.rfind('/'));
        tag.append(">").append(filled.text);
        const Range own = blankBefore(m_text, begin);
        tag.append(filled.text.find('\n') == std::string::npos ? std::string_view() : part(m_text, own));
        m_edits.replace(filled.startTag, tag.append("</").append(filled.name).append(">"));
    }
}

/// The white space before a new element of a container: that of the first element in it, or one level more than the
/// container's own.
std::string ElementWriter::blankFor(const Container& container, std::size_t depth) const {
    std::size_t first = container.content.begin;
    while (first < container.content.end && isWhiteSpace(m_text[first])) {
        ++first;
    }
    if (first < container.content.end) {
        return std::string(part(m_text, {container.content.begin, first}));
    }
    const std::string own(part(m_text, blankBefore(m_text, container.startTag.begin)));
    const std::size_t line = own.rfind('\n');
    if (line == std::string::npos || depth == 0) {
        return {};
    }
    const bool isCrLf = line > 0 && own[line - 1] == '\r';
    return (isCrLf ? "\r\n" : "\n") + own.substr(line + 1) + "\t";
}

} // namespace Kiln::PrefabMerging
