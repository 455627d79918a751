#include "keyed_document.h"

#include <common/white_space.h>
#include <prefab_inspection/documents/prefab_document.h>

#include <charconv>
#include <map>
#include <set>
#include <utility>

namespace Kiln::PrefabMerging {

namespace {

using Token = MarkupScanner::Token;
namespace ElementName = PrefabInspection::ElementName;

/// Components of one object; searching them takes time in proportion to their number.
constexpr std::uint32_t MAX_COMPONENTS = 4096;

/// Calls onChild(section) for each child of the element whose START was read last, which must move behind the child.
/// Returns the container with its ranges and comments.
template <class OnChild>
KeyedSection walkChildren(MarkupScanner& scanner, const OnChild& onChild) {
    KeyedSection section;
    section.startTag = scanner.range();
    section.content = {scanner.range().end, scanner.range().end};
    section.isEmptyElement = scanner.isEmptyElement();
    if (section.isEmptyElement) {
        return section;
    }
    const std::string_view name = scanner.name();
    for (;;) {
        const Token token = scanner.next();
        if (token == Token::START) {
            onChild(section);
        } else if (token == Token::END) {
            if (scanner.name() != name) {
                throw IrregularText("is not well-formed XML");
            }
            section.content.end = scanner.range().begin;
            return section;
        } else if (token == Token::COMMENT || token == Token::INSTRUCTION) {
            section.elements.push_back({MarkupNode::COMMENT, 0, scanner.range()});
        } else if (token == Token::END_OF_TEXT) {
            throw IrregularText("is not well-formed XML");
        } else if (token == Token::CDATA || !scanner.isBlank()) {
            throw IrregularText("has text between elements");
        }
    }
}

/// The range without the white space at both ends.
[[nodiscard]] Range trimmed(std::string_view text, Range range) {
    while (!range.isEmpty() && isWhiteSpace(text[range.begin])) {
        ++range.begin;
    }
    while (!range.isEmpty() && isWhiteSpace(text[range.end - 1])) {
        --range.end;
    }
    return range;
}

/// After the START of an element: reads its plain text and moves behind the element. Returns an empty range for an
/// element that contains anything else.
[[nodiscard]] Range readPlainText(MarkupScanner& scanner, std::string_view text) {
    if (scanner.isEmptyElement()) {
        return {};
    }
    MarkupScanner ahead = scanner;
    const Token token = ahead.next();
    const Range value = ahead.range();
    if (token == Token::TEXT && ahead.next() == Token::END && ahead.name() == scanner.name()) {
        scanner = std::move(ahead);
        return trimmed(text, value);
    }
    scanner.skipElement();
    return {};
}

/// Numbers the elements of one name, and the comments of one text.
void numberElements(std::vector<KeyedElement>& elements, std::string_view text) {
    if (elements.size() < 2) {
        return;
    }
    std::map<std::pair<std::string_view, std::string_view>, std::uint32_t> counts;
    for (KeyedElement& element : elements) {
        const std::string_view comment = element.isComment() ? part(text, element.range) : std::string_view();
        element.number = counts[{element.name, comment}]++;
    }
}

/// The names of which the first child of an element is compared as something else.
[[nodiscard]] std::set<std::string_view> separateParts(std::string_view element) {
    if (element == ElementName::GAME_OBJECT) {
        return {ElementName::UUID};
    }
    return element == ElementName::ITEM ? std::set<std::string_view>{ElementName::GAME_OBJECT, ElementName::PROPERTIES}
                                        : std::set<std::string_view>{};
}

} // namespace

std::vector<KeyedElement> keyedChildren(const MarkupTree& tree, const MarkupNode& parent) {
    std::vector<KeyedElement> children;
    std::set<std::string_view> separate = separateParts(parent.name);
    for (const std::uint32_t index : tree.children(parent)) {
        const MarkupNode& child = tree.node(index);
        if (separate.erase(child.name) == 0) {
            children.push_back({child.name, 0, child.range});
        }
    }
    numberElements(children, tree.text());
    return children;
}

KeyedDocument::KeyedDocument(std::string_view text) : m_text(text) {
    const bool hasMark = text.starts_with("\xEF\xBB\xBF");
    MarkupScanner scanner(text, hasMark ? 3 : 0);
    if (trimWhiteSpace(text).empty()) {
        m_rootRange = {text.size(), text.size()};
        m_firstItem.assign(1, 0);
        return;
    }
    bool hasRoot = false;
    for (Token token = scanner.next(); token != Token::END_OF_TEXT; token = scanner.next()) {
        if (token == Token::START && !hasRoot) {
            hasRoot = true;
            m_rootRange.begin = scanner.range().begin;
            readRoot(scanner);
            m_rootRange.end = scanner.range().end;
        } else if (token == Token::START || token == Token::END || token == Token::CDATA ||
                   (token == Token::TEXT && !scanner.isBlank())) {
            throw IrregularText("is not well-formed XML");
        }
    }
    if (!hasRoot) {
        throw IrregularText("has no element");
    }
    numberElements(m_root.elements, m_text);
    numberElements(m_objectsSection.elements, m_text);
    numberElements(m_componentsSection.elements, m_text);
    indexObjects();
    checkPools();
    indexItems();
}

void KeyedDocument::readRoot(MarkupScanner& scanner) {
    m_root = walkChildren(scanner, [this, &scanner](KeyedSection& section) {
        if (scanner.name() == ElementName::GAME_OBJECTS && !m_objectsSection.exists()) {
            readObjects(scanner);
        } else if (scanner.name() == ElementName::COMPONENTS && !m_componentsSection.exists()) {
            readPools(scanner);
        } else {
            const std::string_view name = scanner.name();
            section.elements.push_back({name, 0, scanner.skipElement()});
        }
    });
}

void KeyedDocument::readObjects(MarkupScanner& scanner) {
    m_objectsSection = walkChildren(scanner, [this, &scanner](KeyedSection& section) {
        if (scanner.name() != ElementName::GAME_OBJECT) {
            const std::string_view name = scanner.name();
            section.elements.push_back({name, 0, scanner.skipElement()});
            return;
        }
        std::optional<Range> uuid;
        const std::size_t begin = scanner.range().begin;
        walkChildren(scanner, [this, &scanner, &uuid](KeyedSection& /*object*/) {
            if (!uuid && scanner.name() == ElementName::UUID) {
                uuid = readPlainText(scanner, m_text);
            } else {
                scanner.skipElement();
            }
        });
        const std::optional<Uuid> read = uuid ? Uuid::fromString(raw(*uuid)) : std::nullopt;
        if (!read) {
            throw IrregularText("has a game object without readable UUID");
        }
        m_objects.push_back({*read, {begin, scanner.range().end}});
    });
}

void KeyedDocument::readPools(MarkupScanner& scanner) {
    // The loader takes every element here for a pool, whatever its name.
    m_componentsSection = walkChildren(scanner, [this, &scanner](KeyedSection& /*section*/) { readPool(scanner); });
}

void KeyedDocument::readPool(MarkupScanner& scanner) {
    KeyedPool pool;
    const std::size_t begin = scanner.range().begin;
    const std::size_t firstItem = m_items.size();
    pool.section = walkChildren(scanner, [this, &scanner, &pool](KeyedSection& section) {
        const std::string_view name = scanner.name();
        const std::size_t elementBegin = scanner.range().begin;
        if (name == ElementName::ITEM) {
            readItem(scanner);
            pool.itemsEnd = scanner.range().end;
        } else if (name == ElementName::TYPE && pool.type.isEmpty()) {
            const Range element = scanner.skipElement();
            pool.type = element;
            const MarkupTree tree(raw(element));
            pool.name = tree.value(tree.node(0));
        } else {
            const Range text = readPlainText(scanner, m_text);
            const KeyedElement element{name, 0, {elementBegin, scanner.range().end}};
            if (name == ElementName::VERSION && pool.version.empty()) {
                pool.version = raw(text);
            }
            section.elements.push_back(element);
        }
    });
    pool.range = {begin, scanner.range().end};
    numberElements(pool.section.elements, m_text);
    for (std::size_t item = firstItem; item < m_items.size(); ++item) {
        m_items[item].pool = static_cast<std::uint32_t>(m_pools.size());
    }
    pool.number = m_poolCounts[pool.name]++;
    m_poolsByKey.emplace(std::pair(pool.name, pool.number), static_cast<std::uint32_t>(m_pools.size()));
    m_pools.push_back(std::move(pool));
}

void KeyedDocument::readItem(MarkupScanner& scanner) {
    KeyedItem item;
    item.range.begin = scanner.range().begin;
    bool hasIndex = false;
    walkChildren(scanner, [this, &scanner, &item, &hasIndex](KeyedSection& /*section*/) {
        if (!hasIndex && scanner.name() == ElementName::GAME_OBJECT) {
            hasIndex = true;
            item.index = readPlainText(scanner, m_text);
        } else {
            scanner.skipElement();
        }
    });
    item.range.end = scanner.range().end;
    const std::string_view digits = raw(item.index);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), item.object);
    if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
        throw IrregularText("has a component without readable index of its game object");
    }
    m_items.push_back(item);
}

void KeyedDocument::indexObjects() {
    m_objectsByUuid.reserve(m_objects.size());
    for (std::size_t index = 0; index < m_objects.size(); ++index) {
        if (!m_objectsByUuid.emplace(m_objects[index].uuid, static_cast<std::uint32_t>(index)).second) {
            throw IrregularText("has several game objects with the UUID " + m_objects[index].uuid.toString());
        }
    }
}

void KeyedDocument::checkPools() const {
    std::map<std::string_view, std::string_view> versions;
    for (const KeyedPool& pool : m_pools) {
        const std::string_view version = pool.version.empty() ? std::string_view("1") : pool.version;
        if (versions.emplace(pool.name, version).first->second != version) {
            throw IrregularText("has pools of the type '" + pool.name + "' with different versions");
        }
    }
}

void KeyedDocument::indexItems() {
    m_firstItem.assign(m_objects.size() + 1, 0);
    for (const KeyedItem& item : m_items) {
        if (item.object >= m_objects.size()) {
            throw IrregularText("has a component whose game object does not exist");
        }
        if (m_firstItem[item.object + 1] == MAX_COMPONENTS) {
            throw IrregularText("has a game object with more than " + std::to_string(MAX_COMPONENTS) + " components");
        }
        ++m_firstItem[item.object + 1];
    }
    for (std::size_t object = 0; object < m_objects.size(); ++object) {
        m_firstItem[object + 1] += m_firstItem[object];
    }
    std::vector<std::uint32_t> next(m_firstItem.begin(), m_firstItem.end() - 1);
    m_itemsByObject.resize(m_items.size());
    for (std::size_t index = 0; index < m_items.size(); ++index) {
        KeyedItem& item = m_items[index];
        std::uint32_t& end = next[item.object];
        for (std::uint32_t other = m_firstItem[item.object]; other < end; ++other) {
            const KeyedItem& earlier = m_items[m_itemsByObject[other]];
            item.number += earlier.pool == item.pool || typeOf(earlier) == typeOf(item) ? 1 : 0;
        }
        m_itemsByObject[end++] = static_cast<std::uint32_t>(index);
    }
}

std::uint32_t KeyedDocument::findObject(const Uuid& uuid) const {
    const auto found = m_objectsByUuid.find(uuid);
    return found == m_objectsByUuid.end() ? NONE : found->second;
}

std::uint32_t KeyedDocument::findPool(const std::string& type, std::uint32_t number) const {
    const auto found = m_poolsByKey.find({type, number});
    return found == m_poolsByKey.end() ? NONE : found->second;
}

std::uint32_t KeyedDocument::findItem(std::uint32_t object, std::string_view type, std::uint32_t number) const {
    for (std::uint32_t index = m_firstItem[object]; index < m_firstItem[object + 1]; ++index) {
        const KeyedItem& item = m_items[m_itemsByObject[index]];
        if (item.number == number && typeOf(item) == type) {
            return m_itemsByObject[index];
        }
    }
    return NONE;
}

std::span<const std::uint32_t> KeyedDocument::itemsOf(std::uint32_t object) const {
    return std::span(m_itemsByObject).subspan(m_firstItem[object], m_firstItem[object + 1] - m_firstItem[object]);
}

std::string KeyedDocument::fragment(const KeyedItem& item) const {
    const KeyedPool& pool = m_pools[item.pool];
    std::string text = "<pool>";
    text.append(raw(pool.type));
    for (const KeyedElement& element : pool.section.elements) {
        if (element.name == ElementName::VERSION && element.number == 0) {
            text.append(raw(element.range));
        }
    }
    return text.append(before(item)).append("0").append(after(item)).append("</pool>");
}

std::string KeyedDocument::fragment(std::uint32_t object) const {
    std::string text(raw(m_objects[object].range));
    for (const std::uint32_t item : itemsOf(object)) {
        text.append("\n").append(fragment(m_items[item]));
    }
    return text;
}

} // namespace Kiln::PrefabMerging
