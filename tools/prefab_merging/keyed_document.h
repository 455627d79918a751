#pragma once

#include "markup.h"

#include <common/uuid.h>

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kiln::PrefabMerging {

/// A part of a container that is neither a game object, a pool nor a component: a comment or any other element.
/// Several of a name are numbered in the order in which they stand.
struct KeyedElement {
    std::string_view name; ///< MarkupNode::COMMENT for a comment, whose key is its text.
    std::uint32_t number = 0;
    Range range;

    [[nodiscard]] bool isComment() const noexcept { return name == MarkupNode::COMMENT; }
};

/// A container with its parts.
struct KeyedSection {
    Range startTag; ///< Empty if there is no such element.
    Range content;  ///< Up to the end tag; empty for <a/>.
    bool isEmptyElement = false;
    std::vector<KeyedElement> elements;

    [[nodiscard]] bool exists() const noexcept { return !startTag.isEmpty(); }
};

/// A component: an item of a pool.
struct KeyedItem {
    std::uint32_t pool = 0;
    std::uint32_t object = 0; ///< Index of the game object.
    std::uint32_t number = 0; ///< Among the components of this type that the object has.
    Range range;
    Range index; ///< The digits of the object's index.
};

struct KeyedPool {
    KeyedSection section; ///< Its elements are those that are no items, without the type.
    Range range;
    Range type; ///< The element `type`; empty if it is absent.
    std::string name;
    std::string version;      ///< Text of the element; empty if it is absent.
    std::uint32_t number = 0; ///< Among the pools of this type.
    std::size_t itemsEnd = 0; ///< Where the last item ends; 0 without one.
};

struct KeyedObject {
    Uuid uuid;
    Range range;
};

/// A prefab document as ranges of its text, found by what identifies the parts: UUIDs, component types, names. Only the
/// parts down to game objects and components are read; their content is parsed when it is compared.
///
/// The text must outlive it. Immutable; any thread. Throws IrregularText if parts have no unique key: UUIDs that are
/// missing, unreadable or repeated, components of no object, several pools of one type with different versions, text
/// between elements. A blank text is a document without anything.
class KeyedDocument {
public:
    static constexpr std::uint32_t NONE = 0xffffffffU;

    explicit KeyedDocument(std::string_view text);

    [[nodiscard]] std::string_view text() const noexcept { return m_text; }
    [[nodiscard]] std::string_view raw(Range range) const { return part(m_text, range); }

    [[nodiscard]] const KeyedSection& root() const noexcept { return m_root; }
    [[nodiscard]] Range rootRange() const noexcept { return m_rootRange; }
    [[nodiscard]] const KeyedSection& objectsSection() const noexcept { return m_objectsSection; }
    [[nodiscard]] const KeyedSection& componentsSection() const noexcept { return m_componentsSection; }
    [[nodiscard]] const std::vector<KeyedObject>& objects() const noexcept { return m_objects; }
    [[nodiscard]] const std::vector<KeyedPool>& pools() const noexcept { return m_pools; }
    [[nodiscard]] const std::vector<KeyedItem>& items() const noexcept { return m_items; }

    /// NONE if there is none.
    [[nodiscard]] std::uint32_t findObject(const Uuid& uuid) const;
    [[nodiscard]] std::uint32_t findPool(const std::string& type, std::uint32_t number = 0) const;
    [[nodiscard]] std::uint32_t findItem(std::uint32_t object, std::string_view type, std::uint32_t number = 0) const;

    /// The items of an object, in the order of the document.
    [[nodiscard]] std::span<const std::uint32_t> itemsOf(std::uint32_t object) const;

    [[nodiscard]] const std::string& typeOf(const KeyedItem& item) const { return m_pools[item.pool].name; }

    /// The item's text before and after the index.
    [[nodiscard]] std::string_view before(const KeyedItem& item) const {
        return raw({item.range.begin, item.index.begin});
    }
    [[nodiscard]] std::string_view after(const KeyedItem& item) const { return raw({item.index.end, item.range.end}); }

    /// A component as a text of its own: a pool that contains only this item, with the index 0.
    [[nodiscard]] std::string fragment(const KeyedItem& item) const;

    /// A game object with its components, each as a pool of its own.
    [[nodiscard]] std::string fragment(std::uint32_t object) const;

private:
    void readRoot(MarkupScanner& scanner);
    void readObjects(MarkupScanner& scanner);
    void readPools(MarkupScanner& scanner);
    void readPool(MarkupScanner& scanner);
    void readPoolElement(MarkupScanner& scanner, KeyedPool& pool);
    void readItem(MarkupScanner& scanner);
    void indexObjects();
    void indexItems();
    void checkPools() const;

    std::string_view m_text;
    KeyedSection m_root;
    Range m_rootRange;
    KeyedSection m_objectsSection;
    KeyedSection m_componentsSection;
    std::vector<KeyedObject> m_objects;
    std::vector<KeyedPool> m_pools;
    std::vector<KeyedItem> m_items;

    struct UuidHash {
        std::size_t operator()(const Uuid& uuid) const noexcept { return uuid.hash(); }
    };
    std::unordered_map<Uuid, std::uint32_t, UuidHash> m_objectsByUuid;
    std::map<std::pair<std::string, std::uint32_t>, std::uint32_t> m_poolsByKey; ///< By type and number.
    std::map<std::string, std::uint32_t> m_poolCounts;                           ///< By type.
    std::vector<std::uint32_t> m_firstItem; ///< Of each object, an index of m_itemsByObject; one more at the end.
    std::vector<std::uint32_t> m_itemsByObject;
};

/// The children of an element, numbered by name, without those that are compared as something else: the UUID of a game
/// object, and the index and the property list of a component.
[[nodiscard]] std::vector<KeyedElement> keyedChildren(const MarkupTree& tree, const MarkupNode& parent);

} // namespace Kiln::PrefabMerging
