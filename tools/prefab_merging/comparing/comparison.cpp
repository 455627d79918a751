#include "../uuid_element.h"
#include "difference_list.h"
#include "several_components.h"

#include <prefab_inspection/documents/prefab_document.h>

#include <algorithm>
#include <set>
#include <span>
#include <string_view>
#include <utility>

namespace Kiln::PrefabMerging {

namespace {

namespace ElementName = PrefabInspection::ElementName;

constexpr std::uint32_t NONE = KeyedDocument::NONE;
constexpr const char* BOTH_CHANGED_COMPONENTS =
    "both sides have changed the components of this type, of which there are several";

[[nodiscard]] Elements elementsOf(const KeyedDocument& document, const KeyedSection& section) {
    return withTexts(section.elements, document.text());
}

/// An item or game object that was parsed.
struct Parsed {
    explicit Parsed(std::string_view text) : tree(text) {}

    [[nodiscard]] const MarkupNode& top() const { return tree.node(tree.tops().front()); }
    [[nodiscard]] std::string_view startTag() const {
        return part(tree.text(), {top().range.begin, top().isEmptyElement ? top().range.end : top().content.begin});
    }

    [[nodiscard]] Elements children() const {
        if (top().hasText) {
            throw IrregularText("has text between elements");
        }
        return withTexts(keyedChildren(tree, top()), tree.text());
    }

    MarkupTree tree;
};

/// The tag without the marks that depend on whether the element has content.
[[nodiscard]] std::string_view attributesOf(std::string_view tag) {
    const std::size_t end = tag.find_last_not_of(" \t\r\n/>");
    return tag.substr(0, end == std::string_view::npos ? 0 : end + 1);
}

class Comparison {
public:
    Comparison(const KeyedDocument& base, const KeyedDocument& ours, const KeyedDocument& theirs)
        : m_base(base), m_ours(ours), m_theirs(theirs) {}

    [[nodiscard]] std::vector<Difference> run() {
        compareOutside();
        compareSections();
        comparePools();
        compareFirstObjects();
        compareObjects();
        return m_differences.take();
    }

private:
    void compareOutside() {
        const auto prolog = [](const KeyedDocument& document) {
            return Text(document.raw({0, document.rootRange().begin}));
        };
        const auto epilog = [](const KeyedDocument& document) {
            return Text(document.raw({document.rootRange().end, document.text().size()}));
        };
        addExact(Place::Kind::PROLOG, {prolog(m_base), prolog(m_ours), prolog(m_theirs)});
        addExact(Place::Kind::EPILOG, {epilog(m_base), epilog(m_ours), epilog(m_theirs)});
    }

    /// Two different changes are no conflict if they differ only in white space.
    void addExact(Place::Kind kind, const Triple& texts) {
        Place place;
        place.kind = kind;
        if (texts.ours != texts.theirs) {
            m_differences.add(std::move(place), texts);
        }
    }

    void compareSections() {
        requireSameTag(&KeyedDocument::root);
        requireSameTag(&KeyedDocument::objectsSection);
        requireSameTag(&KeyedDocument::componentsSection);
        compareSection(Place::Kind::ROOT_ELEMENT, &KeyedDocument::root);
        compareSection(Place::Kind::OBJECTS_ELEMENT, &KeyedDocument::objectsSection);
        compareSection(Place::Kind::POOLS_ELEMENT, &KeyedDocument::componentsSection);
    }

    using Section = const KeyedSection& (KeyedDocument::*)() const;

    void requireSameTag(Section section) const {
        const auto tag = [section](const KeyedDocument& document) {
            return document.raw((document.*section)().startTag);
        };
        requireSameTags(tag(m_base), tag(m_ours), tag(m_theirs));
    }

    /// Attributes of containers have no key. The loader ignores them.
    static void requireSameTags(std::string_view base, std::string_view ours, std::string_view theirs) {
        const std::string_view attributes = attributesOf(theirs);
        if (!theirs.empty() && attributes != attributesOf(base) && attributes != attributesOf(ours)) {
            if (!base.empty() || !ours.empty()) {
                throw IrregularText("has a changed start tag that cannot be merged");
            }
        }
    }

    void compareSection(Place::Kind kind, Section section) {
        Place place;
        place.kind = kind;
        m_differences.addElements(place, elementsOf(m_base, (m_base.*section)()),
                                  elementsOf(m_ours, (m_ours.*section)()), elementsOf(m_theirs, (m_theirs.*section)()));
    }

    // Pools.

    void comparePools() {
        std::set<std::pair<std::string, std::uint32_t>> done;
        for (const KeyedDocument* const document : {&m_base, &m_ours, &m_theirs}) {
            for (const KeyedPool& pool : document->pools()) {
                if (done.emplace(pool.name, pool.number).second) {
                    comparePool(pool.name, pool.number);
                }
            }
        }
    }

    void comparePool(const std::string& type, std::uint32_t number) {
        const KeyedPool* const base = poolOf(m_base, type, number);
        const KeyedPool* const ours = poolOf(m_ours, type, number);
        const KeyedPool* const theirs = poolOf(m_theirs, type, number);
        Place place;
        place.kind = Place::Kind::POOL;
        place.component = type;
        place.componentNumber = number;
        if (ours && theirs) {
            requireSameTags(base ? tagOf(m_base, *base) : std::string_view(), tagOf(m_ours, *ours),
                            tagOf(m_theirs, *theirs));
            place.kind = Place::Kind::POOL_ELEMENT;
            m_differences.addElements(place, base ? elementsOf(m_base, base->section) : Elements(),
                                      elementsOf(m_ours, ours->section), elementsOf(m_theirs, theirs->section));
            return;
        }
        const std::string baseText = base ? poolText(m_base, *base) : std::string();
        const std::string oursText = ours ? poolText(m_ours, *ours) : std::string();
        const std::string theirsText = theirs ? poolText(m_theirs, *theirs) : std::string();
        m_differences.add(std::move(place), {base ? Text(baseText) : Text(), ours ? Text(oursText) : Text(),
                                             theirs ? Text(theirsText) : Text()});
    }

    [[nodiscard]] static const KeyedPool* poolOf(const KeyedDocument& document, const std::string& type,
                                                 std::uint32_t number) {
        const std::uint32_t pool = document.findPool(type, number);
        return pool == NONE ? nullptr : &document.pools()[pool];
    }

    [[nodiscard]] static std::string_view tagOf(const KeyedDocument& document, const KeyedPool& pool) {
        return document.raw(pool.section.startTag);
    }

    /// The pool without its items.
    [[nodiscard]] static std::string poolText(const KeyedDocument& document, const KeyedPool& pool) {
        std::string text = "<pool>";
        text.append(document.raw(pool.type));
        for (const KeyedElement& element : pool.section.elements) {
            text.append(document.raw(element.range));
        }
        return text.append("</pool>");
    }

    // Game objects.

    /// The first object of a document has a meaning, other than the order of the others. That it is removed does not
    /// change which one should be first.
    void compareFirstObjects() {
        const std::optional<Uuid> ours = firstOf(m_ours);
        const std::optional<Uuid> theirs = firstOf(m_theirs);
        const std::optional<Uuid> base = firstOf(m_base);
        if (ours == theirs || !base || !ours || !theirs) {
            return;
        }
        Difference difference;
        difference.place.kind = Place::Kind::FIRST_OBJECT;
        difference.base = uuidElement(*base);
        difference.ours = uuidElement(*ours);
        difference.theirs = uuidElement(*theirs);
        const bool isChangedByOurs = ours != firstOfBaseIn(m_ours);
        const bool isChangedByTheirs = theirs != firstOfBaseIn(m_theirs);
        difference.kind = isChangedByTheirs ? Difference::Kind::THEIRS : Difference::Kind::OURS;
        if (isChangedByOurs && isChangedByTheirs) {
            difference.kind = Difference::Kind::CONFLICT;
            difference.reason = BOTH_CHANGED;
        }
        if (isChangedByOurs || isChangedByTheirs) {
            m_differences.add(std::move(difference));
        }
    }

    [[nodiscard]] static std::optional<Uuid> firstOf(const KeyedDocument& document) {
        return document.objects().empty() ? std::nullopt : std::optional(document.objects().front().uuid);
    }

    /// The first object of base that the document still has.
    [[nodiscard]] std::optional<Uuid> firstOfBaseIn(const KeyedDocument& document) const {
        for (const KeyedObject& object : m_base.objects()) {
            if (document.findObject(object.uuid) != NONE) {
                return object.uuid;
            }
        }
        return std::nullopt;
    }

    void compareObjects() {
        for (std::size_t index = 0; index < m_base.objects().size(); ++index) {
            const Uuid& uuid = m_base.objects()[index].uuid;
            compareObject(uuid, static_cast<std::uint32_t>(index), find(m_ours, uuid, index),
                          find(m_theirs, uuid, index));
        }
        for (std::size_t index = 0; index < m_ours.objects().size(); ++index) {
            const Uuid& uuid = m_ours.objects()[index].uuid;
            if (find(m_base, uuid, index) == NONE) {
                compareObject(uuid, NONE, static_cast<std::uint32_t>(index), m_theirs.findObject(uuid));
            }
        }
        for (std::size_t index = 0; index < m_theirs.objects().size(); ++index) {
            const Uuid& uuid = m_theirs.objects()[index].uuid;
            if (find(m_base, uuid, index) == NONE && m_ours.findObject(uuid) == NONE) {
                compareObject(uuid, NONE, NONE, static_cast<std::uint32_t>(index));
            }
        }
    }

    /// Most objects have the same index in all documents.
    [[nodiscard]] static std::uint32_t find(const KeyedDocument& document, const Uuid& uuid, std::size_t likelyIndex) {
        const bool isThere = likelyIndex < document.objects().size() && document.objects()[likelyIndex].uuid == uuid;
        return isThere ? static_cast<std::uint32_t>(likelyIndex) : document.findObject(uuid);
    }

    void compareObject(const Uuid& uuid, std::uint32_t base, std::uint32_t ours, std::uint32_t theirs) {
        Place place;
        place.kind = Place::Kind::OBJECT;
        place.object = uuid;
        if (ours == NONE || theirs == NONE) {
            const auto fragment = [](const KeyedDocument& document, std::uint32_t object) {
                return object == NONE ? std::string() : document.fragment(object);
            };
            const std::string baseText = fragment(m_base, base);
            const std::string oursText = fragment(m_ours, ours);
            const std::string theirsText = fragment(m_theirs, theirs);
            m_differences.add(std::move(place),
                              {base == NONE ? Text() : Text(baseText), ours == NONE ? Text() : Text(oursText),
                               theirs == NONE ? Text() : Text(theirsText)});
            return;
        }
        const std::string_view baseText = base == NONE ? std::string_view() : rawObject(m_base, base);
        const std::string_view oursText = rawObject(m_ours, ours);
        const std::string_view theirsText = rawObject(m_theirs, theirs);
        if (oursText != theirsText) {
            place.kind = Place::Kind::OBJECT_ELEMENT;
            compareContents(place, baseText, oursText, theirsText);
        }
        compareComponents(uuid, base, ours, theirs);
    }

    [[nodiscard]] static std::string_view rawObject(const KeyedDocument& document, std::uint32_t object) {
        return document.raw(document.objects()[object].range);
    }

    /// Compares the children of an element. `base` is empty if there is none.
    void compareContents(const Place& place, std::string_view base, std::string_view ours, std::string_view theirs) {
        const std::optional<Parsed> parsedBase = base.empty() ? std::nullopt : std::optional<Parsed>(base);
        const Parsed parsedOurs(ours);
        const Parsed parsedTheirs(theirs);
        requireSameTags(parsedBase ? parsedBase->startTag() : std::string_view(), parsedOurs.startTag(),
                        parsedTheirs.startTag());
        m_differences.addElements(place, parsedBase ? parsedBase->children() : Elements(), parsedOurs.children(),
                                  parsedTheirs.children());
    }

    // Components.

    void compareComponents(const Uuid& uuid, std::uint32_t base, std::uint32_t ours, std::uint32_t theirs) {
        const std::span<const std::uint32_t> oursItems = m_ours.itemsOf(ours);
        const std::span<const std::uint32_t> theirsItems = m_theirs.itemsOf(theirs);
        if (hasSameItems(oursItems, theirsItems)) {
            return;
        }
        std::vector<std::string_view> types;
        const auto collect = [&types](const KeyedDocument& document, std::span<const std::uint32_t> items) {
            for (const std::uint32_t item : items) {
                const std::string& type = document.typeOf(document.items()[item]);
                if (std::find(types.begin(), types.end(), type) == types.end()) {
                    types.push_back(type);
                }
            }
        };
        if (base != NONE) {
            collect(m_base, m_base.itemsOf(base));
        }
        collect(m_ours, oursItems);
        collect(m_theirs, theirsItems);
        for (const std::string_view type : types) {
            compareComponents(uuid, std::string(type),
                              {base == NONE ? Items() : itemsOf(m_base, base, type), itemsOf(m_ours, ours, type),
                               itemsOf(m_theirs, theirs, type)});
        }
    }

    using Items = std::vector<const KeyedItem*>;

    /// The components of one type that an object has in the three documents.
    struct ItemsOfType {
        Items base;
        Items ours;
        Items theirs;
    };

    [[nodiscard]] static Items itemsOf(const KeyedDocument& document, std::uint32_t object, std::string_view type) {
        Items items;
        for (const std::uint32_t item : document.itemsOf(object)) {
            if (document.typeOf(document.items()[item]) == type) {
                items.push_back(&document.items()[item]);
            }
        }
        return items;
    }

    void compareComponents(const Uuid& uuid, const std::string& type, const ItemsOfType& items) {
        const std::size_t count = std::max({items.base.size(), items.ours.size(), items.theirs.size()});
        const std::size_t first = m_differences.size();
        bool isAmbiguous = false;
        if (count > 1 && !items.base.empty() &&
            (items.ours.size() != items.base.size() || items.theirs.size() != items.base.size())) {
            const SeveralComponents components{fragmentsOf(m_base, items.base), fragmentsOf(m_ours, items.ours),
                                               fragmentsOf(m_theirs, items.theirs)};
            const ContentMatch match(components);
            isAmbiguous = !match.isOneSided() && !match.isUnique();
            if (!match.isOneSided() && match.isUnique()) {
                Place place;
                place.object = uuid;
                place.component = type;
                for (Difference& difference : match.differences(place)) {
                    m_differences.add(std::move(difference));
                }
                return;
            }
        }
        const auto at = [](const Items& list, std::size_t number) {
            return number < list.size() ? list[number] : nullptr;
        };
        for (std::size_t number = 0; number < count; ++number) {
            compareComponent(uuid, type, static_cast<std::uint32_t>(number), at(items.base, number),
                             at(items.ours, number), at(items.theirs, number));
        }
        if (isAmbiguous) {
            m_differences.makeConflicts(first, BOTH_CHANGED_COMPONENTS);
        }
    }

    [[nodiscard]] static std::vector<std::string> fragmentsOf(const KeyedDocument& document, const Items& items) {
        std::vector<std::string> fragments;
        fragments.reserve(items.size());
        for (const KeyedItem* const item : items) {
            fragments.push_back(document.fragment(*item));
        }
        return fragments;
    }

    /// Whether two objects have the same components in the same order, byte for byte.
    [[nodiscard]] bool hasSameItems(std::span<const std::uint32_t> ours, std::span<const std::uint32_t> theirs) const {
        return std::equal(ours.begin(), ours.end(), theirs.begin(), theirs.end(),
                          [this](std::uint32_t first, std::uint32_t second) {
                              const KeyedItem& a = m_ours.items()[first];
                              const KeyedItem& b = m_theirs.items()[second];
                              return m_ours.typeOf(a) == m_theirs.typeOf(b) && m_ours.after(a) == m_theirs.after(b) &&
                                     m_ours.before(a) == m_theirs.before(b);
                          });
    }

    void compareComponent(const Uuid& uuid, const std::string& type, std::uint32_t number, const KeyedItem* base,
                          const KeyedItem* ours, const KeyedItem* theirs) {
        Place place;
        place.object = uuid;
        place.component = type;
        place.componentNumber = number;
        if (ours && theirs) {
            if (m_ours.after(*ours) != m_theirs.after(*theirs) || m_ours.before(*ours) != m_theirs.before(*theirs)) {
                compareItems(std::move(place), base, *ours, *theirs);
            }
            return;
        }
        place.kind = Place::Kind::COMPONENT;
        const std::string baseText = base ? m_base.fragment(*base) : std::string();
        const std::string oursText = ours ? m_ours.fragment(*ours) : std::string();
        const std::string theirsText = theirs ? m_theirs.fragment(*theirs) : std::string();
        m_differences.add(std::move(place), {base ? Text(baseText) : Text(), ours ? Text(oursText) : Text(),
                                             theirs ? Text(theirsText) : Text()});
    }

    void compareItems(Place place, const KeyedItem* base, const KeyedItem& ours, const KeyedItem& theirs) {
        const std::string_view baseText = base ? m_base.raw(base->range) : std::string_view();
        const std::string_view oursText = m_ours.raw(ours.range);
        const std::string_view theirsText = m_theirs.raw(theirs.range);
        place.kind = Place::Kind::COMPONENT_ELEMENT;
        compareContents(place, baseText, oursText, theirsText);
        place.kind = Place::Kind::PROPERTY;
        compareContents(place, propertiesOf(baseText), propertiesOf(oursText), propertiesOf(theirsText));
    }

    /// The element `properties`, also for an item without one; empty without item.
    [[nodiscard]] static std::string_view propertiesOf(std::string_view item) {
        if (item.empty()) {
            return {};
        }
        const Parsed parsed(item);
        const MarkupNode* const properties = parsed.tree.child(parsed.top(), ElementName::PROPERTIES);
        return properties ? parsed.tree.raw(*properties) : std::string_view("<properties/>");
    }

    const KeyedDocument& m_base;
    const KeyedDocument& m_ours;
    const KeyedDocument& m_theirs;
    DifferenceList m_differences;
};

} // namespace

std::vector<Difference> compare(const KeyedDocument& base, const KeyedDocument& ours, const KeyedDocument& theirs) {
    return Comparison(base, ours, theirs).run();
}

} // namespace Kiln::PrefabMerging
