#include "prefab_editor.h"

#include "markup_reader.h"

#include <common/white_space.h>
#include <object_serialization/component_library.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace Kiln::PrefabEditing {

using PrefabInspection::NestingTypes;
using PrefabInspection::PrefabFile;
using PrefabInspection::StoredItem;
using PrefabInspection::StoredPool;
using PrefabInspection::TextRange;

namespace {

namespace ElementName = PrefabInspection::ElementName;

constexpr std::string_view CDATA_BEGIN = "<![CDATA[";
constexpr std::string_view CDATA_END = "]]>";
constexpr const char* DEFAULT_VERSION = "1";
constexpr const char* DEFAULT_OPTIONS = "35"; ///< Wanted by all process roles.

/// XML allows no other control characters, not even as references.
void checkCharacters(std::string_view text) {
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x20 && character != '\t' && character != '\n' && character != '\r') {
            const std::string number{DIGITS[code / 16U], DIGITS[code % 16U]};
            throw EditError("The text has the control character U+00" + number + ", which XML does not allow");
        }
    }
}

[[nodiscard]] std::string escaped(std::string_view text) {
    checkCharacters(text);
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '\r': // As a line end it would be read as LF.
            result += "&#13;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

/// The last child of that name, which is the one whose value the loader uses.
[[nodiscard]] DataNode lastChild(DataNode parent, std::string_view name) {
    DataNode found;
    for (DataNode child = parent.firstChild(); child; child = child.nextSibling()) {
        if (child.isNamed(name)) {
            found = child;
        }
    }
    return found;
}

/// The child element with an index among those of that name.
[[nodiscard]] DataNode childAt(DataNode parent, std::string_view name, std::size_t index) {
    for (DataNode child = parent.firstChild(); child; child = child.nextSibling()) {
        if (child.isNamed(name)) {
            if (index == 0) {
                return child;
            }
            --index;
        }
    }
    return {};
}

} // namespace

std::vector<PrefabEditor::PathStep> PrefabEditor::stepsOf(std::string_view path) {
    std::vector<PathStep> steps;
    std::size_t position = 0;
    while (position <= path.size()) {
        const std::size_t end = std::min(path.find('.', position), path.size());
        std::string_view part = path.substr(position, end - position);
        const std::size_t bracket = part.find('[');
        steps.push_back({std::string(part.substr(0, bracket)), std::nullopt});
        bool isValid = !steps.back().name.empty();
        part.remove_prefix(std::min(bracket, part.size()));
        while (isValid && !part.empty()) {
            std::size_t index = 0;
            const auto [last, error] = std::from_chars(part.data() + 1, part.data() + part.size(), index);
            const auto size = static_cast<std::size_t>(last - part.data());
            isValid = part.front() == '[' && error == std::errc() && size < part.size() && *last == ']';
            steps.push_back({ElementName::VALUE, index});
            part.remove_prefix(isValid ? size + 1 : 0);
        }
        if (!isValid) {
            throw EditError("'" + std::string(path) + "' is not the name of a property");
        }
        position = end + 1;
    }
    return steps;
}

PrefabEditor::PrefabEditor(const PrefabFile& file)
    : m_file(file), m_document(*file.document), m_text(file.text->text()) {}

PrefabEditor::~PrefabEditor() = default;

void PrefabEditor::rename(std::size_t object, std::string_view name) {
    setChild(m_document.objects[object].element, ElementName::NAME, name);
}

void PrefabEditor::setValue(std::size_t object, std::string_view component, std::string_view property,
                            std::string_view text) {
    const PrefabFile::Component& found = findComponent(object, component);
    const auto components = m_file.components(object);
    const auto count = std::count_if(components.begin(), components.end(),
                                     [component](const auto& other) { return other.pool->type == component; });
    if (count > 1) {
        throw EditError(nameOf(object) + " has " + std::to_string(count) + " components '" + std::string(component) +
                        "'; change the file in a text editor");
    }
    const bool isTypeKnown = found.pool->typeId != ComponentLibrary::INVALID_ID;
    std::vector<PathStep> steps = stepsOf(property);
    DataNode element = found.item->properties;
    if (!element) {
        element = found.item->element;
        steps.insert(steps.begin(), {ElementName::PROPERTIES, std::nullopt});
    }
    for (std::size_t number = 0; number < steps.size(); ++number) {
        const PathStep& step = steps[number];
        const DataNode child = step.index ? childAt(element, step.name, *step.index) : lastChild(element, step.name);
        if (child) {
            element = child;
            continue;
        }
        if (!isTypeKnown && !step.index) {
            throw EditError("'" + std::string(component) + "' has no '" + step.name +
                            "' in the file, and its type is not known; --load its library");
        }
        append(element, newValue(steps, number, text));
        return;
    }
    setText(element, text);
}

/// The elements for the steps of a path from the one with this number on.
PrefabEditor::NewElement PrefabEditor::newValue(const std::vector<PathStep>& steps, std::size_t first,
                                                std::string_view text) {
    for (std::size_t number = first; number < steps.size(); ++number) {
        if (steps[number].index) {
            throw EditError("The file has no element " + std::to_string(*steps[number].index) +
                            " of the vector; only existing elements can be changed");
        }
    }
    NewElement element{steps.back().name, escaped(text), {}};
    for (std::size_t number = steps.size() - 1; number > first; --number) {
        std::vector<NewElement> children;
        children.push_back(std::move(element));
        element = {steps[number - 1].name, {}, std::move(children)};
    }
    return element;
}

void PrefabEditor::setParent(std::size_t object, const Uuid& parent) {
    const PrefabFile::Component& hierarchy = findComponent(object, NestingTypes::get().hierarchyName);
    if (!hierarchy.item->properties) {
        append(hierarchy.item->element, {ElementName::PROPERTIES, {}, {{"parent", parent.toString(), {}}}});
        return;
    }
    setChild(hierarchy.item->properties, "parent", parent.toString());
}

void PrefabEditor::remove(const std::set<std::size_t>& objects) {
    for (const std::size_t object : objects) {
        removeElement(m_document.objects[object].element);
    }
    for (const StoredPool& pool : m_document.pools) {
        removeItems(pool, objects);
    }
}

void PrefabEditor::removeItems(const StoredPool& pool, const std::set<std::size_t>& objects) {
    const auto isRemoved = [&objects](const StoredItem& item) { return objects.contains(item.object.value); };
    if (!pool.items.empty() && std::all_of(pool.items.begin(), pool.items.end(), isRemoved)) {
        removeElement(pool.element);
        return;
    }
    for (const StoredItem& item : pool.items) {
        if (isRemoved(item)) {
            removeElement(item.element);
        } else if (item.object.value < m_document.objects.size()) {
            const auto before = std::distance(objects.begin(), objects.lower_bound(item.object.value));
            if (before > 0) {
                setText(item.object.element, std::to_string(item.object.value - static_cast<std::uint64_t>(before)));
            }
        }
    }
}

void PrefabEditor::addNested(const NewPoint& point) {
    if (!m_document.gameObjectsElement) {
        throw EditError("The file has no element '" + std::string(ElementName::GAME_OBJECTS) + "'");
    }
    append(m_document.gameObjectsElement, {ElementName::GAME_OBJECT,
                                           {},
                                           {{ElementName::UUID, point.uuid.toString(), {}},
                                            {ElementName::NAME, escaped(point.name), {}},
                                            {ElementName::FLAGS, "0", {}}}});
    const std::size_t object = m_document.objects.size();
    refuseComponentsOf(object);
    std::vector<NewElement> newPools;
    addItem(NestingTypes::get().hierarchyName, newItem(object, {{"parent", point.parent.toString(), {}}}), newPools);
    addItem(NestingTypes::get().prefabName,
            newItem(object, {{"resource", escaped(point.resource), {}}, {"overridesData", {}, {}}}), newPools);
    if (newPools.empty()) {
        return;
    }
    if (!m_document.componentsElement) {
        append(m_document.section->node(), {ElementName::COMPONENTS, {}, std::move(newPools)});
        return;
    }
    for (NewElement& pool : newPools) {
        append(m_document.componentsElement, std::move(pool));
    }
}

/// The components of a missing object would become those of a new object with its index.
void PrefabEditor::refuseComponentsOf(std::size_t missingObject) const {
    for (const StoredPool& pool : m_document.pools) {
        for (const StoredItem& item : pool.items) {
            if (item.object.value == missingObject) {
                throw EditError("The file has a component '" + pool.type + "' of the missing object " +
                                std::to_string(missingObject) +
                                ", which the new object would get; remove that component first");
            }
        }
    }
}

/// Adds an item to the first pool of its type, or a new pool with the item to `newPools`.
void PrefabEditor::addItem(const std::string& type, NewElement item, std::vector<NewElement>& newPools) {
    for (const StoredPool& pool : m_document.pools) {
        if (pool.type == type) {
            append(pool.element, std::move(item));
            return;
        }
    }
    newPools.push_back({ElementName::POOL,
                        {},
                        {{ElementName::TYPE, type, {}}, {ElementName::VERSION, DEFAULT_VERSION, {}}, std::move(item)}});
}

PrefabEditor::NewElement PrefabEditor::newItem(std::size_t object, std::vector<NewElement> properties) const {
    return {ElementName::ITEM,
            {},
            {{ElementName::GAME_OBJECT, std::to_string(object), {}},
             {ElementName::OPTIONS, DEFAULT_OPTIONS, {}},
             {ElementName::PROPERTIES, {}, std::move(properties)}}};
}

EditedText PrefabEditor::take() {
    for (const auto& [parent, children] : m_newChildren) {
        insertChildren(parent, children);
    }
    m_newChildren.clear();
    EditedText text(m_text);
    text.apply(m_edits.take());
    return text;
}

const PrefabFile::Component& PrefabEditor::findComponent(std::size_t object, std::string_view type) const {
    const PrefabFile::Component* found = nullptr;
    std::string others;
    for (const PrefabFile::Component& component : m_file.components(object)) {
        if (component.pool->type == type && (!found || (component.isRead && !found->isRead))) {
            found = &component;
        }
        others.append(others.empty() ? "" : ", ").append(component.pool->type);
    }
    if (!found) {
        throw EditError(nameOf(object)
                            .append(" has no component '")
                            .append(type)
                            .append(others.empty() ? "'" : "', only " + others));
    }
    return *found;
}

std::string PrefabEditor::nameOf(std::size_t object) const {
    const DataNode name = m_document.objects[object].nameElement;
    return "'" + (name ? name.text() : m_document.objects[object].uuid.toString()) + "'";
}

/// Sets the text of a child element, which is added if there is none.
void PrefabEditor::setChild(DataNode parent, const std::string& name, std::string_view text) {
    if (const DataNode child = lastChild(parent, name)) {
        setText(child, text);
    } else {
        append(parent, {name, escaped(text), {}});
    }
}

/// A value in one CDATA section stays one. Comments inside of a value stay.
void PrefabEditor::setText(DataNode element, std::string_view text) {
    if (!m_setElements.insert(element.offset()).second) {
        throw EditError("'" + std::string(element.name()) + "' is set twice");
    }
    checkCharacters(text);
    MarkupReader reader(m_text, static_cast<std::size_t>(element.offset()) - 1);
    const Markup tag = reader.next();
    if (tag.kind == Markup::Kind::EMPTY_TAG) {
        m_edits.replace(tag.end - 2, tag.end, ">" + escaped(text).append("</").append(element.name()).append(">"));
        return;
    }
    std::vector<Markup> pieces;
    for (Markup markup = reader.next(); markup.kind != Markup::Kind::END_TAG; markup = reader.next()) {
        if (markup.kind == Markup::Kind::START_TAG || markup.kind == Markup::Kind::EMPTY_TAG) {
            throw EditError("'" + std::string(element.name()) + "' has several values; name one of them");
        }
        if (markup.kind == Markup::Kind::TEXT || markup.kind == Markup::Kind::CDATA) {
            pieces.push_back(markup);
        }
    }
    const bool isCdata = pieces.size() == 1 && pieces.front().kind == Markup::Kind::CDATA &&
                         text.find(CDATA_END) == std::string_view::npos && text.find('\r') == std::string_view::npos;
    if (isCdata) {
        m_edits.replace(pieces.front().begin + CDATA_BEGIN.size(), pieces.front().end - CDATA_END.size(),
                        std::string(text));
        return;
    }
    if (pieces.empty()) {
        m_edits.insert(tag.end, escaped(text));
    }
    for (std::size_t number = 0; number < pieces.size(); ++number) {
        m_edits.replace(pieces[number].begin, pieces[number].end, number == 0 ? escaped(text) : std::string());
    }
}

/// Removes an element with the white space before it and with the comments behind it on its line.
void PrefabEditor::removeElement(DataNode element) {
    const TextRange range = m_file.text->elementRange(element);
    std::size_t begin = range.begin;
    while (begin > 0 && isWhiteSpace(m_text[begin - 1])) {
        --begin;
    }
    std::size_t end = range.end;
    MarkupReader reader(m_text, end);
    Markup markup = reader.next();
    while (true) {
        if (markup.kind == Markup::Kind::TEXT) {
            const std::string_view text = std::string_view(m_text).substr(markup.begin, markup.end - markup.begin);
            if (!trimWhiteSpace(text).empty() || text.find('\n') != std::string_view::npos) {
                break;
            }
        } else if (markup.kind == Markup::Kind::COMMENT) {
            end = markup.end;
        } else {
            break;
        }
        markup = reader.next();
    }
    m_edits.replace(begin, end, {});
}

void PrefabEditor::append(DataNode parent, NewElement element) {
    for (auto& [other, children] : m_newChildren) {
        if (other == parent) {
            children.push_back(std::move(element));
            return;
        }
    }
    m_newChildren.emplace_back(parent, std::vector<NewElement>());
    m_newChildren.back().second.push_back(std::move(element));
}

/// The line break and the indentation before an element; empty if it does not begin a line.
std::string PrefabEditor::lineStart(DataNode element) const {
    const auto end = static_cast<std::size_t>(element.offset()) - 1;
    std::size_t begin = end;
    while (begin > 0 && (m_text[begin - 1] == ' ' || m_text[begin - 1] == '\t')) {
        --begin;
    }
    if (begin == 0 || m_text[begin - 1] != '\n') {
        return {};
    }
    --begin;
    begin -= begin > 0 && m_text[begin - 1] == '\r' ? 1 : 0;
    return m_text.substr(begin, end - begin);
}

/// By how much the children of an element are indented more than the element, in the whole document.
std::string PrefabEditor::indentationUnit() const {
    const DataNode root = m_document.section->node();
    const auto indentation = [this](DataNode element) {
        const std::string start = lineStart(element);
        return start.substr(std::min(start.find('\n') + 1, start.size()));
    };
    const std::string outer = indentation(root);
    const std::string inner = root.firstChild() ? indentation(root.firstChild()) : std::string();
    return inner.size() > outer.size() && inner.starts_with(outer) ? inner.substr(outer.size()) : "\t";
}

void PrefabEditor::insertChildren(DataNode parent, const std::vector<NewElement>& children) {
    const std::string unit = indentationUnit();
    DataNode last;
    for (DataNode child = parent.firstChild(); child; child = child.nextSibling()) {
        last = child;
    }
    if (last) {
        const std::string start = lineStart(last);
        std::string text;
        for (const NewElement& child : children) {
            render(child, start, unit, text);
        }
        m_edits.insert(m_file.text->elementRange(last).end, std::move(text));
        return;
    }
    // The root element of a document begins a line even if nothing precedes it.
    const std::string parentStart = parent == m_document.section->node() ? "\n" : lineStart(parent);
    const std::string start = parentStart.empty() ? "" : parentStart + unit;
    std::string text;
    for (const NewElement& child : children) {
        render(child, start, unit, text);
    }
    text += parentStart;
    MarkupReader reader(m_text, static_cast<std::size_t>(parent.offset()) - 1);
    const Markup tag = reader.next();
    if (tag.kind == Markup::Kind::EMPTY_TAG) {
        m_edits.replace(tag.end - 2, tag.end, ">" + text.append("</").append(parent.name()).append(">"));
        return;
    }
    const Markup content = reader.next();
    const bool isSpace =
        content.kind == Markup::Kind::TEXT &&
        trimWhiteSpace(std::string_view(m_text).substr(content.begin, content.end - content.begin)).empty() &&
        reader.next().kind == Markup::Kind::END_TAG;
    m_edits.replace(tag.end, isSpace ? content.end : tag.end, std::move(text));
}

void PrefabEditor::render(const NewElement& element, const std::string& start, const std::string& unit,
                          std::string& text) {
    text.append(start).append("<").append(element.name).append(">").append(element.text);
    const std::string childStart = start.empty() ? start : start + unit;
    for (const NewElement& child : element.children) {
        render(child, childStart, unit, text);
    }
    if (!element.children.empty()) {
        text += start;
    }
    text.append("</").append(element.name).append(">");
}

} // namespace Kiln::PrefabEditing
