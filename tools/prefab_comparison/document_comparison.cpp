#include <prefab_comparison/document_comparison.h>

#include <common/white_space.h>
#include <prefab_comparison/child_pairs.h>
#include <prefab_comparison/object_matching.h>
#include <prefab_comparison/override_comparison.h>
#include <prefab_comparison/value_comparison.h>
#include <prefab_comparison/value_text.h>
#include <prefab_inspection/composition/prefab_file.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

namespace Kiln::PrefabComparison {

namespace ElementName = PrefabInspection::ElementName;
using PrefabInspection::NestingTypes;
using PrefabInspection::StoredItem;
using PrefabInspection::StoredNumber;
using PrefabInspection::StoredObject;
using PrefabInspection::StoredPool;
using Component = DocumentIndex::Component;

namespace {

constexpr std::size_t NONE = DocumentIndex::NONE;
constexpr std::size_t FEW = 16; ///< Lists of components up to this length are searched.

[[nodiscard]] std::optional<std::string> optionalText(DataNode element) {
    return element ? std::optional(valueText(element)) : std::nullopt;
}

template <class Number>
[[nodiscard]] bool isSameNumber(const StoredNumber<Number>& a, const StoredNumber<Number>& b) {
    return a.isReadable && b.isReadable ? a.value == b.value
                                        : a.isReadable == b.isReadable && a.element.text() == b.element.text();
}

template <class Number>
[[nodiscard]] std::string numberText(const StoredNumber<Number>& number) {
    return number.isReadable ? std::to_string(number.value) : number.element.text();
}

/// The children that the loader does not read: all but the first one of each of the names.
[[nodiscard]] std::vector<DataNode> unusedChildren(DataNode parent, std::initializer_list<const char*> names,
                                                   const char* repeatedName = nullptr) {
    std::vector<DataNode> unused;
    std::vector<DataNode> used;
    for (const char* const name : names) {
        used.push_back(parent.child(name));
    }
    for (DataNode child = parent.firstChild(); child; child = child.nextSibling()) {
        const bool isUsed =
            (repeatedName && child.isNamed(repeatedName)) || std::find(used.begin(), used.end(), child) != used.end();
        if (!isUsed) {
            unused.push_back(child);
        }
    }
    return unused;
}

/// The pools of one component type.
struct TypePools {
    std::set<std::string> versions;      ///< Of the pools with items.
    std::set<std::string> emptyVersions; ///< Of the pools without.
    std::vector<DataNode> unused;        ///< Elements in the pools that the loader does not read.
};

[[nodiscard]] std::map<std::string, TypePools> poolsByType(const PrefabInspection::PrefabDocument& document) {
    std::map<std::string, TypePools> types;
    for (const StoredPool& pool : document.pools) {
        TypePools& type = types[pool.type];
        (pool.items.empty() ? type.emptyVersions : type.versions).insert(numberText(pool.version));
        const std::vector<DataNode> unused =
            unusedChildren(pool.element, {ElementName::TYPE, ElementName::VERSION}, ElementName::ITEM);
        type.unused.insert(type.unused.end(), unused.begin(), unused.end());
    }
    return types;
}

[[nodiscard]] std::string joined(const std::set<std::string>& texts) {
    std::string result;
    for (const std::string& text : texts) {
        result += result.empty() ? "" : ", ";
        result += text;
    }
    return result;
}

class DocumentComparison {
public:
    DocumentComparison(const LoadedDocument& a, const LoadedDocument& b)
        : m_a(a),
          m_b(b),
          m_textB(b.text()),
          m_sectionB(*b.document().section),
          m_matches(matchObjects(a.index(), b.index())) {}

    /// For compareVersions(): the objects of both documents are the same.
    DocumentComparison(const LoadedDocument& document, const DataSection& sectionB)
        : m_a(document), m_b(document), m_sectionB(sectionB) {}

    [[nodiscard]] std::vector<Change> compareVersions(const std::vector<ComponentVersion>& versions) {
        for (const ComponentVersion& version : versions) {
            const Component& a = version.component;
            std::size_t occurrence = 0;
            for (const Component& earlier : m_a.index().components(version.object)) {
                if (earlier.item == a.item) {
                    break;
                }
                occurrence += earlier.pool->type == a.pool->type ? 1 : 0;
            }
            m_lineShift = version.lineShift;
            const Component b{a.pool, version.changed};
            comparePair({&a, &b, version.object, version.object, occurrence});
        }
        return std::move(m_changes);
    }

    [[nodiscard]] std::vector<Change> compare() {
        compareDocument();
        comparePools();
        for (std::size_t b = 0; b < m_b.index().objectsCount(); ++b) {
            if (m_matches.ofB[b] == NONE) {
                addObject(ChangeKind::OBJECT_ADDED, NONE, b);
            } else {
                compareObjects(m_matches.ofB[b], b);
            }
        }
        for (std::size_t a = 0; a < m_a.index().objectsCount(); ++a) {
            if (m_matches.ofA[a] == NONE) {
                addObject(ChangeKind::OBJECT_REMOVED, a, NONE);
            }
        }
        compareStrays();
        return std::move(m_changes);
    }

private:
    /// Two components that correspond, and their objects; NONE for objects that do not exist.
    struct Pair {
        const Component* a;
        const Component* b;
        std::size_t objectA;
        std::size_t objectB;
        std::size_t occurrence;
    };

    // The document as a whole

    void compareDocument() {
        const PrefabInspection::PrefabDocument& a = m_a.document();
        const PrefabInspection::PrefabDocument& b = m_b.document();
        if (!isSameNumber(a.formatVersion, b.formatVersion)) {
            addDocumentChange("format version", numberText(a.formatVersion), numberText(b.formatVersion));
        }
        if (!a.gameObjectsElement != !b.gameObjectsElement) {
            addDocumentChange("list of game objects", a.gameObjectsElement ? "present" : "absent",
                              b.gameObjectsElement ? "present" : "absent");
        }
        compareUnused(unusedChildren(a.section->node(),
                                     {ElementName::FORMAT_VERSION, ElementName::GAME_OBJECTS, ElementName::COMPONENTS}),
                      unusedChildren(b.section->node(),
                                     {ElementName::FORMAT_VERSION, ElementName::GAME_OBJECTS, ElementName::COMPONENTS}),
                      Change());
        compareUnused(unusedChildren(a.gameObjectsElement, {}, ElementName::GAME_OBJECT),
                      unusedChildren(b.gameObjectsElement, {}, ElementName::GAME_OBJECT), Change());
        compareTops();
    }

    /// The first object decides whether an instance starts active, and of several roots only the first one is used.
    void compareTops() {
        const bool haveObjects = m_a.index().objectsCount() > 0 && m_b.index().objectsCount() > 0;
        if (haveObjects && m_matches.ofA[0] != 0) {
            addDocumentChange("first object", describe(m_a, 0), describe(m_b, 0));
        }
        const std::size_t rootA = findRoot(m_a.index());
        const std::size_t rootB = findRoot(m_b.index());
        const bool isSameRoot = rootA == NONE || rootB == NONE ? rootA == rootB : m_matches.ofA[rootA] == rootB;
        if (!isSameRoot && (rootA != 0 || rootB != 0)) {
            addDocumentChange("root", rootA == NONE ? "none" : describe(m_a, rootA),
                              rootB == NONE ? "none" : describe(m_b, rootB));
        }
    }

    [[nodiscard]] static std::size_t findRoot(const DocumentIndex& index) {
        for (std::size_t object = 0; object < index.objectsCount(); ++object) {
            if (!index.parent(object)) {
                return object;
            }
        }
        return NONE;
    }

    [[nodiscard]] static std::string describe(const LoadedDocument& document, std::size_t object) {
        return document.index().path(object) + " " + uuidText(document, object);
    }

    [[nodiscard]] static std::string uuidText(const LoadedDocument& document, std::size_t object) {
        const StoredObject& stored = document.document().objects[object];
        return stored.isUuidReadable ? stored.uuid.toString() : std::string(trimWhiteSpace(stored.uuidElement.text()));
    }

    void addDocumentChange(std::string what, std::string before, std::string after) {
        Change change;
        change.property = std::move(what);
        change.before = std::move(before);
        change.after = std::move(after);
        m_changes.push_back(std::move(change));
    }

    void comparePools() {
        std::map<std::string, TypePools> typesA = poolsByType(m_a.document());
        std::map<std::string, TypePools> typesB = poolsByType(m_b.document());
        for (const auto& [type, pools] : typesA) {
            typesB.try_emplace(type);
        }
        for (const auto& [type, poolsB] : typesB) {
            comparePoolsOfType(type, typesA[type], poolsB);
        }
    }

    void comparePoolsOfType(const std::string& type, const TypePools& a, const TypePools& b) {
        Change base;
        base.component = type;
        compareUnused(a.unused, b.unused, base);
        if (a.versions.empty() && b.versions.empty()) { // Pools without items.
            if (a.emptyVersions != b.emptyVersions) {
                base.property = "empty pool";
                base.before = a.emptyVersions.empty() ? std::nullopt : std::optional(joined(a.emptyVersions));
                base.after = b.emptyVersions.empty() ? std::nullopt : std::optional(joined(b.emptyVersions));
                m_changes.push_back(std::move(base));
            }
        } else if (a.versions.size() > 1 || b.versions.size() > 1) {
            m_mixedVersions.insert(type);
        } else if (!a.versions.empty() && !b.versions.empty() && a.versions != b.versions) {
            base.kind = ChangeKind::VERSION_CHANGED;
            base.property = "version";
            base.before = *a.versions.begin();
            base.after = *b.versions.begin();
            m_changes.push_back(std::move(base));
        }
    }

    // Objects

    void addObject(ChangeKind kind, std::size_t a, std::size_t b) {
        Change change = objectChange(kind, a, b);
        const DocumentIndex& index = (b == NONE ? m_a : m_b).index();
        for (const Component& component : index.components(b == NONE ? a : b)) {
            change.content.emplace_back(component.pool->type, std::string());
        }
        m_changes.push_back(std::move(change));
    }

    [[nodiscard]] Change objectChange(ChangeKind kind, std::size_t a, std::size_t b) const {
        Change change;
        change.kind = kind;
        const LoadedDocument& document = b == NONE ? m_a : m_b;
        const std::size_t object = b == NONE ? a : b;
        if (object != NONE) {
            change.uuid = uuidText(document, object);
            change.objectPath = document.index().path(object);
        }
        setLines(change, a == NONE ? DataNode() : m_a.document().objects[a].element,
                 b == NONE ? DataNode() : m_b.document().objects[b].element);
        return change;
    }

    void compareObjects(std::size_t a, std::size_t b) {
        const StoredObject& objectA = m_a.document().objects[a];
        const StoredObject& objectB = m_b.document().objects[b];
        if (!isSameRange(objectA.element, nextObject(m_a, a), objectB.element, nextObject(m_b, b))) {
            compareObjectElements(a, b);
        }
        compareComponents(a, b);
    }

    [[nodiscard]] static DataNode nextObject(const LoadedDocument& document, std::size_t object) {
        const std::vector<StoredObject>& objects = document.document().objects;
        return object + 1 < objects.size() ? objects[object + 1].element : DataNode();
    }

    void compareObjectElements(std::size_t a, std::size_t b) {
        const StoredObject& objectA = m_a.document().objects[a];
        const StoredObject& objectB = m_b.document().objects[b];
        std::string nameA = m_a.index().name(a);
        std::string nameB = m_b.index().name(b);
        if (nameA != nameB) {
            Change change = objectChange(ChangeKind::OBJECT_RENAMED, a, b);
            change.before = std::move(nameA);
            change.after = std::move(nameB);
            m_changes.push_back(std::move(change));
        }
        if (!isSameNumber(objectA.flags, objectB.flags)) {
            Change change = objectChange(ChangeKind::FLAGS_CHANGED, a, b);
            change.before = numberText(objectA.flags);
            change.after = numberText(objectB.flags);
            m_changes.push_back(std::move(change));
        }
        if (objectA.hasOtherElements || objectB.hasOtherElements) {
            const std::initializer_list<const char*> names{ElementName::UUID, ElementName::NAME, ElementName::FLAGS};
            compareUnused(unusedChildren(objectA.element, names), unusedChildren(objectB.element, names),
                          objectChange(ChangeKind::UNUSED_CONTENT_CHANGED, a, b));
        }
    }

    /// Whether the texts from one element to another are the same in both documents. False without an end.
    [[nodiscard]] bool isSameRange(DataNode beginA, DataNode endA, DataNode beginB, DataNode endB) const {
        if (!beginA || !endA || !beginB || !endB) {
            return false;
        }
        const std::string_view a = range(m_a.text(), beginA, endA);
        return !a.empty() && a == range(m_textB, beginB, endB);
    }

    [[nodiscard]] static std::string_view range(std::string_view text, DataNode begin, DataNode end) {
        const auto from = static_cast<std::size_t>(begin.offset());
        const auto to = static_cast<std::size_t>(end.offset());
        return from < to && to <= text.size() ? text.substr(from, to - from) : std::string_view();
    }

    // Components

    void compareComponents(std::size_t objectA, std::size_t objectB) {
        const std::span<const Component> a = m_a.index().components(objectA);
        const std::span<const Component> b = m_b.index().components(objectB);
        const bool isAligned = a.size() <= FEW && std::equal(a.begin(), a.end(), b.begin(), b.end(),
                                                             [](const auto& left, const auto& right) {
                                                                 return left.pool->type == right.pool->type;
                                                             });
        if (!isAligned) {
            matchComponents(a, b, objectA, objectB);
            return;
        }
        for (std::size_t i = 0; i < a.size(); ++i) {
            std::size_t occurrence = 0;
            for (std::size_t earlier = 0; earlier < i; ++earlier) {
                occurrence += a[earlier].pool->type == a[i].pool->type ? 1 : 0;
            }
            comparePair({&a[i], &b[i], objectA, objectB, occurrence});
        }
    }

    void compareStrays() { matchComponents(m_a.index().strayComponents(), m_b.index().strayComponents(), NONE, NONE); }

    void matchComponents(std::span<const Component> a, std::span<const Component> b, std::size_t objectA,
                         std::size_t objectB) {
        using Key = std::tuple<std::string, std::string_view, std::size_t>; // Index of a stray one, type, occurrence.
        const auto keyed = [objectA](std::span<const Component> components, const auto& visit) {
            std::map<std::pair<std::string, std::string_view>, std::size_t> counts;
            for (const Component& component : components) {
                std::string stray = objectA == NONE ? numberText(component.item->object) : std::string();
                const std::size_t occurrence = counts[{stray, component.pool->type}]++;
                visit(Key(std::move(stray), component.pool->type, occurrence), component);
            }
        };
        std::map<Key, const Component*> unmatched;
        keyed(a, [&unmatched](Key key, const Component& component) { unmatched.emplace(std::move(key), &component); });
        keyed(b, [&](const Key& key, const Component& component) {
            const auto other = unmatched.find(key);
            comparePair(
                {other == unmatched.end() ? nullptr : other->second, &component, objectA, objectB, std::get<2>(key)});
            if (other != unmatched.end()) {
                unmatched.erase(other);
            }
        });
        for (const auto& [key, component] : unmatched) {
            comparePair({component, nullptr, objectA, objectB, std::get<2>(key)});
        }
    }

    void comparePair(const Pair& pair) {
        if (!pair.a || !pair.b) {
            addComponent(pair);
            return;
        }
        const StoredItem& a = *pair.a->item;
        const StoredItem& b = *pair.b->item;
        if (!isSameNumber(a.options, b.options)) {
            Change change = componentChange(ChangeKind::OPTIONS_CHANGED, pair);
            change.property = ElementName::OPTIONS;
            change.before = numberText(a.options);
            change.after = numberText(b.options);
            m_changes.push_back(std::move(change));
        }
        if (!m_mixedVersions.empty() && m_mixedVersions.contains(pair.a->pool->type) &&
            !isSameNumber(pair.a->pool->version, pair.b->pool->version)) {
            Change change = componentChange(ChangeKind::VERSION_CHANGED, pair);
            change.property = ElementName::VERSION;
            change.before = numberText(pair.a->pool->version);
            change.after = numberText(pair.b->pool->version);
            m_changes.push_back(std::move(change));
        }
        if (a.hasOtherElements || b.hasOtherElements) {
            const std::initializer_list<const char*> names{ElementName::GAME_OBJECT, ElementName::OPTIONS,
                                                           ElementName::PROPERTIES};
            compareUnused(unusedChildren(a.element, names), unusedChildren(b.element, names),
                          componentChange(ChangeKind::UNUSED_CONTENT_CHANGED, pair));
        }
        if (m_textB.empty() || !isSameRange(a.properties, nextItem(*pair.a), b.properties, nextItem(*pair.b))) {
            compareProperties(pair);
        }
    }

    [[nodiscard]] static DataNode nextItem(const Component& component) {
        const std::vector<StoredItem>& items = component.pool->items;
        const auto next = static_cast<std::size_t>(component.item - items.data()) + 1;
        return next < items.size() ? items[next].element : DataNode();
    }

    [[nodiscard]] Change componentChange(ChangeKind kind, const Pair& pair) const {
        Change change = objectChange(kind, pair.objectA, pair.objectB);
        const Component& present = pair.b ? *pair.b : *pair.a;
        change.component = present.pool->type;
        change.occurrence = pair.occurrence;
        setLines(change, pair.a ? pair.a->item->element : DataNode(), pair.b ? pair.b->item->element : DataNode());
        if (pair.objectA == NONE) {
            change.objectPath = present.item->object.element ? numberText(present.item->object) : std::string("none");
            change.isObjectIndex = true;
        }
        return change;
    }

    void addComponent(const Pair& pair) {
        const Component& present = pair.b ? *pair.b : *pair.a;
        const bool isHierarchy = present.pool->typeId == NestingTypes::get().hierarchy;
        if (isHierarchy && pair.occurrence == 0 && pair.objectA != NONE) {
            addMove(pair, parentOf(pair.a), parentOf(pair.b));
        }
        Change change = componentChange(pair.b ? ChangeKind::COMPONENT_ADDED : ChangeKind::COMPONENT_REMOVED, pair);
        for (DataNode child = present.item->properties.firstChild(); child; child = child.nextSibling()) {
            change.content.emplace_back(child.name(), valueText(child));
        }
        m_changes.push_back(std::move(change));
    }

    [[nodiscard]] static DataNode itemOf(const Component* component) {
        return component ? component->item->element : DataNode();
    }

    [[nodiscard]] static DataNode parentOf(const Component* component) {
        return component ? component->item->properties.child("parent") : DataNode();
    }

    void addMove(const Pair& pair, DataNode a, DataNode b) {
        Change change = componentChange(ChangeKind::OBJECT_MOVED, pair);
        change.component.clear();
        change.property.clear();
        change.before = a ? std::optional(std::string(trimWhiteSpace(a.text()))) : std::nullopt;
        change.after = b ? std::optional(std::string(trimWhiteSpace(b.text()))) : std::nullopt;
        change.content = {{"from", pathOf(m_a, a)}, {"to", pathOf(m_b, b)}};
        setLines(change, a ? a : itemOf(pair.a), b ? b : itemOf(pair.b));
        m_changes.push_back(std::move(change));
    }

    /// The path of the object that a link of a document names; empty if the document does not have it.
    [[nodiscard]] static std::string pathOf(const LoadedDocument& document, DataNode link) {
        const std::optional<Uuid> uuid = Uuid::fromString(trimWhiteSpace(link.text()));
        const std::size_t object = uuid ? document.index().findObject(*uuid) : NONE;
        return object == NONE ? std::string() : document.index().path(object);
    }

    // Values

    void compareProperties(const Pair& pair) {
        forEachChildPair(pair.a->item->properties, pair.b->item->properties,
                         [this, &pair](DataNode a, DataNode b) { compareProperty(pair, a, b); });
    }

    void compareProperty(const Pair& pair, DataNode a, DataNode b) {
        const std::size_t typeId = pair.b->pool->typeId;
        const std::string_view name = (b ? b : a).name();
        if (m_values.isSameValue(typeId, name, a, b)) {
            return;
        }
        if (typeId == NestingTypes::get().hierarchy && name == "parent" && pair.occurrence == 0 &&
            pair.objectA != NONE) {
            addMove(pair, a, b);
            return;
        }
        Change base = componentChange(ChangeKind::VALUE_CHANGED, pair);
        base.property = name;
        setLines(base, a ? a : itemOf(pair.a), b ? b : itemOf(pair.b));
        if (typeId == NestingTypes::get().prefab && name == Tessel::PrefabComponent::OVERRIDES_DATA_PROPERTY) {
            const std::size_t known = m_changes.size();
            compareOverrideTexts(m_values, a.text(), b.text(), base, m_changes);
            if (m_changes.size() > known || (a && b)) {
                return;
            }
        }
        for (ValueComparison::Difference& difference : m_values.differences(typeId, name, a, b)) {
            addValue(base, pair, std::move(difference));
        }
    }

    void addValue(Change change, const Pair& pair, ValueComparison::Difference difference) {
        const bool isResource = change.property == Tessel::PrefabComponent::RESOURCE_PROPERTY &&
                                change.component == NestingTypes::get().prefabName;
        change.kind = isResource      ? ChangeKind::NESTED_PREFAB_CHANGED
                      : !difference.a ? ChangeKind::VALUE_ADDED
                      : !difference.b ? ChangeKind::VALUE_REMOVED
                                      : ChangeKind::VALUE_CHANGED;
        change.property = std::move(difference.path);
        change.before = optionalText(difference.a);
        change.after = optionalText(difference.b);
        setLines(change, difference.a ? difference.a : itemOf(pair.a), difference.b ? difference.b : itemOf(pair.b));
        m_changes.push_back(std::move(change));
    }

    void setLines(Change& change, DataNode a, DataNode b) const {
        change.lineBefore = a ? m_a.document().section->positionOf(a).line : 0;
        const auto lineB = b ? static_cast<std::ptrdiff_t>(m_sectionB.positionOf(b).line) + m_lineShift : 0;
        change.lineAfter = static_cast<std::size_t>(lineB);
    }

    void compareUnused(const std::vector<DataNode>& unusedA, const std::vector<DataNode>& unusedB, const Change& base) {
        forEachPair(unusedA, unusedB, [this, &base](DataNode a, DataNode b) {
            if (!ValueComparison::isSameContent(a, b)) {
                Change change = base;
                change.kind = ChangeKind::UNUSED_CONTENT_CHANGED;
                change.property = (a ? a : b).name();
                change.before = optionalText(a);
                change.after = optionalText(b);
                setLines(change, a, b);
                m_changes.push_back(std::move(change));
            }
        });
    }

    const LoadedDocument& m_a;
    const LoadedDocument& m_b;
    const std::string_view m_textB; ///< Of the second elements; empty if they are versions of single components.
    const DataSection& m_sectionB;  ///< The document of the second elements.
    std::ptrdiff_t m_lineShift = 0;
    const ObjectMatches m_matches;
    ValueComparison m_values;
    std::set<std::string> m_mixedVersions; ///< Component types whose versions are compared item by item.
    std::vector<Change> m_changes;
};

} // namespace

std::vector<Change> compareDocuments(const LoadedDocument& a, const LoadedDocument& b) {
    return DocumentComparison(a, b).compare();
}

std::vector<Change> compareVersions(const LoadedDocument& document, const std::vector<ComponentVersion>& versions,
                                    const DataSection& changed) {
    return DocumentComparison(document, changed).compareVersions(versions);
}

} // namespace Kiln::PrefabComparison
