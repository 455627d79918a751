#include "element_changes.h"

#include <string>
#include <tuple>

namespace Kiln::PrefabMerging {

namespace {

/// Changes of one element mostly follow each other. Few are kept, because each costs several times its text.
constexpr std::size_t MAX_PARSED_COUNT = 8;

using ElementKey = std::tuple<std::string_view, std::uint32_t, std::string_view>;

[[nodiscard]] ElementKey keyOf(const Place& place) {
    const bool isComment = place.element.empty();
    return {isComment ? MarkupNode::COMMENT : std::string_view(place.element), place.number,
            isComment ? std::string_view(place.comment) : std::string_view()};
}

[[nodiscard]] ElementKey keyOf(const KeyedElement& element, std::string_view text) {
    return {element.name, element.number, element.isComment() ? part(text, element.range) : std::string_view()};
}

} // namespace

/// An element that was parsed, and its children by key.
struct ElementChanges::Parsed {
    Parsed(std::string_view document, Range range) : offset(range.begin), tree(part(document, range)) {
        const MarkupNode& top = tree.node(tree.tops().front());
        const Range startTag{range.begin, top.isEmptyElement ? range.end : range.begin + top.content.begin};
        container = {startTag, inDocument(top.content), top.name, top.isEmptyElement};
        for (const KeyedElement& child : keyedChildren(tree, top)) {
            children.emplace(keyOf(child, tree.text()), inDocument(child.range));
        }
    }

    [[nodiscard]] Range inDocument(Range range) const { return {offset + range.begin, offset + range.end}; }

    std::size_t offset;
    MarkupTree tree;
    Container container;
    std::map<ElementKey, Range> children;
};

void ElementChanges::set(const Assignment& assignment, const std::vector<KeyedElement>& elements,
                         const Container& container, std::size_t depth) {
    std::optional<Range> present;
    for (const KeyedElement& element : elements) {
        if (keyOf(element, m_text) == keyOf(*assignment.place)) {
            present = element.range;
            break;
        }
    }
    set(assignment, present, container, depth);
}

void ElementChanges::setInside(const Assignment& assignment, Range range, std::size_t depth) {
    const std::optional<Range> present = find(*assignment.place, range);
    set(assignment, present, containerOf(range), depth);
}

std::optional<Range> ElementChanges::find(const Place& place, Range range) {
    const Parsed& element = parsed(range);
    const auto found = element.children.find(keyOf(place));
    return found == element.children.end() ? std::nullopt : std::optional(found->second);
}

std::optional<Range> ElementChanges::childOf(Range range, std::string_view name) {
    const Parsed& element = parsed(range);
    const MarkupNode* const child = element.tree.child(element.tree.node(element.tree.tops().front()), name);
    return child ? std::optional(element.inDocument(child->range)) : std::nullopt;
}

Container ElementChanges::containerOf(Range range) {
    return parsed(range).container;
}

const ElementChanges::Parsed& ElementChanges::parsed(Range range) {
    const auto found = m_parsed.find(range.begin);
    if (found != m_parsed.end()) {
        return *found->second;
    }
    if (m_parsed.size() == MAX_PARSED_COUNT) {
        m_parsed.clear();
    }
    return *m_parsed.emplace(range.begin, std::make_shared<const Parsed>(m_text, range)).first->second;
}

void ElementChanges::set(const Assignment& assignment, const std::optional<Range>& present, const Container& container,
                         std::size_t depth) {
    if (present && assignment.value) {
        m_writer.replace(*present, *assignment.value);
    } else if (present) {
        m_writer.remove(*present);
    } else if (assignment.value) {
        m_writer.append(container, *assignment.value, depth);
    }
}

} // namespace Kiln::PrefabMerging
