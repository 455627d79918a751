#include <prefab_comparison/canonical_text.h>

#include <common/white_space.h>
#include <object_serialization/component_library.h>
#include <prefab_comparison/child_pairs.h>
#include <prefab_comparison/override_records.h>
#include <prefab_inspection/composition/prefab_file.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace Kiln::PrefabComparison {

namespace ElementName = PrefabInspection::ElementName;
using PrefabInspection::NestingTypes;
using PrefabInspection::StoredNumber;
using PrefabInspection::StoredObject;
using PrefabInspection::StoredPool;
using Component = DocumentIndex::Component;

namespace {

constexpr std::size_t NONE = DocumentIndex::NONE;
constexpr int MAX_OVERRIDE_DEPTH = 32;
const std::string INDENT = "    ";

template <class Number>
[[nodiscard]] std::string numberText(const StoredNumber<Number>& number) {
    return number.isReadable ? std::to_string(number.value) : "'" + number.element.text() + "'";
}

/// The children with their numbers among those of the same name, in the order of the names.
[[nodiscard]] std::map<std::pair<std::string, std::size_t>, DataNode> sortedChildren(DataNode parent) {
    std::map<std::string, std::size_t> counts;
    std::map<std::pair<std::string, std::size_t>, DataNode> children;
    for (const DataNode child : childrenOf(parent)) {
        const std::string name(child.name());
        children.emplace(std::pair(name, counts[name]++), child);
    }
    return children;
}

[[nodiscard]] std::string numbered(const std::string& name, std::size_t occurrence) {
    return occurrence == 0 ? name : name + " #" + std::to_string(occurrence + 1);
}

class CanonicalWriter {
public:
    using OnLine = std::function<void(const std::string&)>;

    CanonicalWriter(const LoadedDocument& loaded, const OnLine& onLine)
        : m_document(loaded.document()), m_index(loaded.index()), m_onLine(onLine) {}

    void write() {
        const DataNode root = m_document.section->node();
        m_onLine("format version " + numberText(m_document.formatVersion));
        if (!m_document.gameObjectsElement) {
            m_onLine("no list of game objects");
        }
        writeUnused(root, {ElementName::FORMAT_VERSION, ElementName::GAME_OBJECTS, ElementName::COMPONENTS}, nullptr,
                    "");
        writeUnused(m_document.gameObjectsElement, {}, ElementName::GAME_OBJECT, "");
        writePools();
        const std::vector<std::size_t> order = treeOrder();
        if (!order.empty()) {
            m_onLine("first object " + uuidText(0) + " " + m_index.name(0));
            writeRoot();
        }
        for (const std::size_t object : order) {
            writeObject(object);
        }
        writeStrays();
    }

private:
    [[nodiscard]] std::string uuidText(std::size_t object) const {
        const StoredObject& stored = m_document.objects[object];
        return stored.isUuidReadable ? stored.uuid.toString()
                                     : "'" + std::string(trimWhiteSpace(stored.uuidElement.text())) + "'";
    }

    void writeRoot() {
        for (std::size_t object = 0; object < m_index.objectsCount(); ++object) {
            if (!m_index.parent(object)) {
                m_onLine("root " + uuidText(object) + " " + m_index.name(object));
                return;
            }
        }
    }

    void writePools() {
        struct Versions {
            std::set<std::string> empty;
            bool hasItems = false;
        };
        std::map<std::string, Versions> types;
        std::map<std::string, std::vector<DataNode>> unused;
        for (const StoredPool& pool : m_document.pools) {
            Versions& versions = types[pool.type];
            versions.hasItems = versions.hasItems || !pool.items.empty();
            if (pool.items.empty()) {
                versions.empty.insert(numberText(pool.version));
            }
            collectUnused(pool.element, {ElementName::TYPE, ElementName::VERSION}, ElementName::ITEM,
                          unused[pool.type]);
        }
        for (const auto& [type, versions] : types) {
            for (const std::string& version : versions.hasItems ? std::set<std::string>() : versions.empty) {
                std::string line = "empty pool ";
                line.append(type).append(" version ").append(version);
                m_onLine(line);
            }
            std::string prefix = "pool ";
            prefix.append(type).append(" ");
            writeElements(unused[type], prefix);
        }
    }

    // Objects

    /// Each object after its parent; objects with the same parent in the order of their UUIDs.
    [[nodiscard]] std::vector<std::size_t> treeOrder() const {
        using Key = std::tuple<std::string, std::string, std::size_t>;
        const std::size_t count = m_index.objectsCount();
        std::vector<Key> keys;
        std::vector<std::vector<std::size_t>> children(count + 1); // The last list has those without a known parent.
        for (std::size_t object = 0; object < count; ++object) {
            keys.emplace_back(uuidText(object), m_index.name(object), object);
            const auto parent = m_index.parent(object);
            const std::size_t found = parent && parent->isReadable ? m_index.findObject(parent->uuid) : NONE;
            children[found == NONE ? count : found].push_back(object);
        }
        std::vector<std::size_t> order;
        std::vector<bool> isListed(count);
        std::vector<std::size_t> pending;
        const auto push = [&](std::vector<std::size_t> list) {
            std::sort(list.begin(), list.end(), [&keys](std::size_t a, std::size_t b) { return keys[a] > keys[b]; });
            pending.insert(pending.end(), list.begin(), list.end());
        };
        const auto drain = [&] {
            while (!pending.empty()) {
                const std::size_t object = pending.back();
                pending.pop_back();
                if (!isListed[object]) {
                    isListed[object] = true;
                    order.push_back(object);
                    push(children[object]);
                }
            }
        };
        push(children[count]);
        drain();
        push(unlisted(isListed)); // Those in cycles of parents.
        drain();
        return order;
    }

    [[nodiscard]] static std::vector<std::size_t> unlisted(const std::vector<bool>& isListed) {
        std::vector<std::size_t> objects;
        for (std::size_t object = 0; object < isListed.size(); ++object) {
            if (!isListed[object]) {
                objects.push_back(object);
            }
        }
        return objects;
    }

    void writeObject(std::size_t object) {
        const StoredObject& stored = m_document.objects[object];
        m_onLine("object " + uuidText(object));
        m_onLine(INDENT + "name " + m_index.name(object));
        m_onLine(INDENT + "flags " + numberText(stored.flags));
        writeUnused(stored.element, {ElementName::UUID, ElementName::NAME, ElementName::FLAGS}, nullptr, INDENT);
        std::map<std::pair<std::string, std::size_t>, const Component*> components;
        std::map<std::string, std::size_t> counts;
        for (const Component& component : m_index.components(object)) {
            components.emplace(std::pair(component.pool->type, counts[component.pool->type]++), &component);
        }
        for (const auto& [key, component] : components) {
            writeComponent(*component, INDENT + numbered(key.first, key.second));
        }
    }

    void writeStrays() {
        std::map<std::tuple<std::string, std::string, std::size_t>, const Component*> components;
        std::map<std::pair<std::string, std::string>, std::size_t> counts;
        for (const Component& component : m_index.strayComponents()) {
            const std::pair key(numberText(component.item->object), component.pool->type);
            components.emplace(std::tuple(key.first, key.second, counts[key]++), &component);
        }
        for (const auto& [key, component] : components) {
            writeComponent(*component, "component of the missing object " + std::get<0>(key) + ": " +
                                           numbered(std::get<1>(key), std::get<2>(key)));
        }
    }

    void writeComponent(const Component& component, const std::string& title) {
        m_onLine(title + ", version " + numberText(component.pool->version) + ", options " +
                 numberText(component.item->options));
        writeUnused(component.item->element, {ElementName::GAME_OBJECT, ElementName::OPTIONS, ElementName::PROPERTIES},
                    nullptr, INDENT + INDENT);
        for (const auto& [key, element] : sortedChildren(component.item->properties)) {
            writeProperty(component.pool->typeId, key.first, numbered(key.first, key.second), element, INDENT + INDENT,
                          0);
        }
    }

    // Values

    struct Scratch {
        SmartPointer<IComponentDescriptor> descriptor;
        mirra::ReflectedObject configuration;
    };

    void writeProperty(std::size_t typeId, const std::string& name, const std::string& path, DataNode element,
                       const std::string& indent, int depth) {
        if (typeId == NestingTypes::get().prefab && name == Tessel::PrefabComponent::OVERRIDES_DATA_PROPERTY &&
            depth < MAX_OVERRIDE_DEPTH) {
            const OverrideText text(element.text());
            if (text.isReadable()) {
                m_onLine(indent + path + ":");
                writeOverrides(text, indent + INDENT, depth + 1);
                return;
            }
        }
        const auto [entry, isNew] = m_scratches.try_emplace(typeId);
        Scratch& scratch = entry->second;
        if (isNew && typeId != ComponentLibrary::INVALID_ID) {
            scratch.descriptor = ComponentLibrary::instance().createDescriptor(typeId);
            if (scratch.descriptor) {
                scratch.configuration = scratch.descriptor->configuration();
            }
        }
        const mirra::BaseStaticMetaObject* const meta = scratch.configuration.metaObject();
        const mirra::Property* const property = meta ? meta->findProperty(name) : nullptr;
        writeValue(indent + path, element, property ? property->type : nullptr,
                   property ? property->address(scratch.configuration.object()) : nullptr);
    }

    void writeOverrides(const OverrideText& text, const std::string& indent, int depth) {
        std::map<OverrideKey, DataNode> records;
        for (const OverrideText::Record& record : text.records()) {
            records.emplace(record.key, record.element);
        }
        for (const auto& [key, element] : records) {
            const std::string title = key.object + " " + key.component + "." + numbered(key.property, key.occurrence);
            if (!element) {
                m_onLine(indent + title);
                continue;
            }
            writeProperty(ComponentLibrary::instance().findComponent(key.component), key.property, title, element,
                          indent, depth);
        }
        std::map<std::string, std::vector<DataNode>> others;
        for (const OverrideText::OtherElement& other : text.otherElements()) {
            others[other.owner].push_back(other.element);
        }
        for (const auto& [owner, elements] : others) {
            writeElements(elements, indent + owner + " ");
        }
    }

    void writeValue(const std::string& path, DataNode element, const mirra::ValueType* type, void* scratch) {
        if (!type) {
            writeContent(path, element);
            return;
        }
        if (type->kind() == mirra::ValueKind::VECTOR) {
            writeVector(path, element, *type, scratch);
            return;
        }
        if (type->kind() == mirra::ValueKind::STRUCTURE) {
            writeStructure(path, element, type->metaObject(), scratch);
            return;
        }
        const std::string whole = element.text();
        std::string text(type->isWhiteSpaceKept() ? std::string_view(whole) : trimWhiteSpace(whole));
        if (type->parse(text, scratch)) {
            text.clear();
            type->format(scratch, text);
        } else {
            text = "'" + text + "'"; // Not the text of a value that can be read.
        }
        writeText(path, text, false);
        for (DataNode child = element.firstChild(); child; child = child.nextSibling()) {
            writeContent(path + "/" + std::string(child.name()), child);
        }
    }

    void writeStructure(const std::string& path, DataNode element, const mirra::BaseStaticMetaObject* meta,
                        void* scratch) {
        if (!meta) {
            writeContent(path, element);
            return;
        }
        writeText(path + " {}", trimWhiteSpace(element.text()), true);
        for (const auto& [key, child] : sortedChildren(element)) {
            const mirra::Property* const member = meta->findProperty(key.first);
            writeValue(path + "." + numbered(key.first, key.second), child, member ? member->type : nullptr,
                       member ? member->address(scratch) : nullptr);
        }
    }

    void writeVector(const std::string& path, DataNode element, const mirra::ValueType& type, void* scratch) {
        type.clearElements(scratch);
        void* const value = type.appendElement(scratch);
        writeText(path + " []", trimWhiteSpace(element.text()), true);
        std::size_t index = 0;
        for (DataNode child = element.firstChild(); child; child = child.nextSibling()) {
            const std::string childPath = path + "[" + std::to_string(index++) + "]";
            if (child.isNamed(ElementName::VALUE)) {
                writeValue(childPath, child, type.elementType(), value);
            } else {
                writeContent(childPath + "/" + std::string(child.name()), child);
            }
        }
    }

    /// An element of which nothing is known.
    void writeContent(const std::string& path, DataNode element) {
        const std::string text = element.text();
        const std::string_view trimmed = trimWhiteSpace(text);
        writeText(path, trimmed.empty() || element.firstChild() ? trimmed : std::string_view(text), false);
        std::size_t index = 0;
        for (DataNode child = element.firstChild(); child; child = child.nextSibling()) {
            writeContent(path + "/" + std::string(child.name()) + "[" + std::to_string(index++) + "]", child);
        }
    }

    void writeText(const std::string& path, std::string_view text, bool isOmittedIfEmpty) {
        std::string line = path;
        if (!text.empty() || !isOmittedIfEmpty) {
            line += " = ";
            line += text;
        }
        m_onLine(line);
    }

    // Elements that the loader ignores

    static void collectUnused(DataNode parent, std::initializer_list<const char*> names, const char* repeatedName,
                              std::vector<DataNode>& unused) {
        std::set<std::string_view> seen;
        for (DataNode child = parent.firstChild(); child; child = child.nextSibling()) {
            const bool isKnown =
                std::any_of(names.begin(), names.end(), [child](const char* name) { return child.isNamed(name); });
            const bool isRepeated = repeatedName && child.isNamed(repeatedName);
            if (!isRepeated && !(isKnown && seen.insert(child.name()).second)) {
                unused.push_back(child);
            }
        }
    }

    void writeUnused(DataNode parent, std::initializer_list<const char*> names, const char* repeatedName,
                     const std::string& prefix) {
        std::vector<DataNode> unused;
        collectUnused(parent, names, repeatedName, unused);
        writeElements(unused, prefix);
    }

    void writeElements(std::vector<DataNode> elements, const std::string& prefix) {
        std::stable_sort(elements.begin(), elements.end(), [](DataNode a, DataNode b) { return a.name() < b.name(); });
        for (const DataNode element : elements) {
            writeContent(prefix + "not used: " + std::string(element.name()), element);
        }
    }

    const PrefabInspection::PrefabDocument& m_document;
    const DocumentIndex& m_index;
    const OnLine& m_onLine;
    std::unordered_map<std::size_t, Scratch> m_scratches; ///< By type id.
};

} // namespace

void writeCanonicalText(const LoadedDocument& document, const std::function<void(const std::string&)>& onLine) {
    CanonicalWriter(document, onLine).write();
}

} // namespace Kiln::PrefabComparison
