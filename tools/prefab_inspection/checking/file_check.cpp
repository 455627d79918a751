#include <prefab_inspection/checking/file_check.h>

#include <core/formatter.h>
#include <generic_components/transform_component.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <object_serialization/prefab_format.h>
#include <object_serialization/typed_component_descriptor.h>
#include <prefab_inspection/checking/nearest_name.h>
#include <prefab_inspection/checking/override_document.h>
#include <prefab_inspection/checking/quoted_text.h>
#include <prefab_inspection/checking/value_problems.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_limits.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

using Tessel::HierarchyComponent;
using Tessel::PrefabComponent;
using Tessel::PrefabFormat;
using Tessel::TransformComponent;

[[nodiscard]] std::uint32_t offsetOf(DataNode element) {
    return element.offset() < 0 ? 0 : static_cast<std::uint32_t>(element.offset());
}

/// The property that the loader uses of several with that name: the last one.
[[nodiscard]] DataNode findProperty(const StoredItem& item, std::string_view name) {
    DataNode found;
    for (DataNode child = item.properties.firstChild(); child; child = child.nextSibling()) {
        found = child.isNamed(name) ? child : found;
    }
    return found;
}

[[nodiscard]] bool isFinite(const Matrix& matrix) {
    return std::all_of(matrix.values.begin(), matrix.values.end(), [](float value) { return std::isfinite(value); });
}

/// Whether one of the three axes has no length.
[[nodiscard]] bool hasZeroScale(const Matrix& matrix) {
    for (std::size_t row = 0; row < 3; ++row) {
        if (matrix.at(row, 0) == 0 && matrix.at(row, 1) == 0 && matrix.at(row, 2) == 0) {
            return true;
        }
    }
    return false;
}

class DocumentCheck {
public:
    DocumentCheck(const PrefabDocument& document, FileFacts facts, ScratchDescriptors& scratch)
        : m_document(document), m_scratch(scratch) {
        m_result.facts = std::move(facts);
    }

    [[nodiscard]] FileCheckResult run() {
        m_result.facts.state = FileFacts::State::BROKEN;
        if (!checkVersion()) {
            checkRootChildren();
            return std::move(m_result);
        }
        checkStructure();
        if (!m_document.gameObjectsElement) {
            add(FindingCode::GAME_OBJECTS_MISSING, Severity::ERROR, Anchor::name(m_document.section->node()), "",
                "The prefab has no list of game objects, so nothing is loaded from it.",
                "Add a 'gameObjects' element with at least one game object.");
            return std::move(m_result);
        }
        if (m_document.objects.size() > Tessel::prefabLimits().objects) {
            addLimit(Anchor::name(m_document.gameObjectsElement), "game objects", m_document.objects.size(),
                     Tessel::prefabLimits().objects, "Split the prefab into smaller ones.");
            return std::move(m_result);
        }
        readObjects();
        checkPools();
        checkHierarchy();
        if (m_isWithinLimits) {
            m_result.facts.state = FileFacts::State::LOADED;
        }
        return std::move(m_result);
    }

private:
    PendingFinding& add(FindingCode code, Severity severity, Anchor anchor, std::string subject, std::string message,
                        std::string cure, std::uint32_t object = PendingFinding::NO_OBJECT) {
        PendingFinding& finding = m_result.findings.emplace_back();
        finding.code = code;
        finding.severity = severity;
        finding.anchor = std::move(anchor);
        finding.subject = std::move(subject);
        finding.message = std::move(message);
        finding.cure = std::move(cure);
        finding.object = object;
        return finding;
    }

    void addLimit(Anchor anchor, const char* what, std::size_t count, std::size_t limit, const char* cure,
                  std::uint32_t object = PendingFinding::NO_OBJECT) {
        m_isWithinLimits = false;
        add(FindingCode::LIMIT_EXCEEDED, Severity::ERROR, std::move(anchor), what,
            formatText("There are %zu %s, but the limit is %zu, so the whole prefab is refused.", count, what, limit),
            cure, object);
    }

    // Structure.

    [[nodiscard]] bool checkVersion() {
        const StoredNumber<std::uint32_t>& version = m_document.formatVersion;
        if (version.isReadable && version.value == PrefabFormat::FORMAT_VERSION) {
            return true;
        }
        const DataNode root = m_document.section->node();
        const std::string found = !version.element ? "The prefab does not name its format version"
                                  : version.isReadable
                                      ? formatText("The prefab has the format version %u", version.value)
                                      : "The format version can't be read from " + quoted(version.element.text());
        add(FindingCode::FORMAT_VERSION, Severity::ERROR,
            version.element ? Anchor::value(version.element) : Anchor::name(root), "",
            found + formatText(", but only version %u is loaded.", PrefabFormat::FORMAT_VERSION),
            version.element && version.isReadable
                ? formatText("Convert the prefab to version %u.", PrefabFormat::FORMAT_VERSION)
                : formatText("Write <formatVersion>%u</formatVersion>.", PrefabFormat::FORMAT_VERSION));
        return false;
    }

    void checkNumber(DataNode element, bool isReadable, const char* range, std::uint32_t object) {
        if (!isReadable) {
            add(FindingCode::UNREADABLE_NUMBER, Severity::ERROR, Anchor::value(element), std::string(element.name()),
                "The number '" + std::string(element.name()) + "' can't be read from " + quoted(element.text()) + ".",
                std::string("Write ") + range + ".", object);
        }
    }

    /// Reports children that are not in the list of names, and such of the first `singleCount` names that repeat.
    void checkChildren(DataNode parent, std::initializer_list<const char*> names, std::size_t singleCount,
                       std::uint32_t object = PendingFinding::NO_OBJECT) {
        std::vector<DataNode> first(names.size());
        for (DataNode child = parent.firstChild(); child; child = child.nextSibling()) {
            const auto name =
                std::find_if(names.begin(), names.end(), [child](const char* known) { return child.isNamed(known); });
            const auto index = static_cast<std::size_t>(name - names.begin());
            if (name == names.end()) {
                addUnknownElement(child, {names.begin(), names.end()}, object);
            } else if (!first[index]) {
                first[index] = child;
            } else if (index < singleCount) {
                addRepeatedElement(child, first[index], object);
            }
        }
    }

    void addUnknownElement(DataNode element, std::vector<std::string> names, std::uint32_t object) {
        const std::string expected = names.size() == 1 ? "'" + names.front() + "'" : "one of the known names";
        const std::optional<NearestName> nearest = nearestName(element.name(), std::move(names));
        add(FindingCode::UNKNOWN_ELEMENT, Severity::WARNING, Anchor::name(element), std::string(element.name()),
            "The element " + quoted(element.name()) + " is not known here and is ignored." + suggestion(nearest),
            nearest ? "Rename the element to '" + nearest->name + "', or remove it."
                    : "Remove the element, or give it " + expected + ".",
            object);
    }

    void addRepeatedElement(DataNode element, DataNode first, std::uint32_t object) {
        PendingFinding& finding =
            add(FindingCode::REPEATED_ELEMENT, Severity::WARNING, Anchor::name(element), std::string(element.name()),
                "The element '" + std::string(element.name()) + "' appears twice; the loader uses only the first.",
                "Remove one of them.", object);
        finding.related.push_back({{}, Anchor::name(first), "the first one is here"});
    }

    void checkRootChildren() {
        using namespace ElementName;
        checkChildren(m_document.section->node(), {FORMAT_VERSION, GAME_OBJECTS, COMPONENTS}, 3);
    }

    void checkStructure() {
        using namespace ElementName;
        checkRootChildren();
        if (m_document.objects.size() != m_document.gameObjectsElement.childrenCount()) {
            checkChildren(m_document.gameObjectsElement, {GAME_OBJECT}, 0);
        }
        if (m_document.gameObjectsElement && !m_document.componentsElement) {
            add(FindingCode::COMPONENTS_MISSING, Severity::WARNING, Anchor::name(m_document.section->node()), "",
                "The prefab has no 'components' element, so its game objects have no components.",
                "Add a 'components' element; it may be empty.");
        }
        checkPoolNames();
    }

    /// The loader reads every child of the element as a pool.
    void checkPoolNames() {
        for (const StoredPool& pool : m_document.pools) {
            if (!pool.element.isNamed(ElementName::POOL)) {
                add(FindingCode::UNKNOWN_ELEMENT, Severity::WARNING, Anchor::name(pool.element),
                    std::string(pool.element.name()),
                    "The element " + quoted(pool.element.name()) +
                        " is read as a pool, although its name is not 'pool'.",
                    "Rename the element to 'pool'.");
            }
        }
    }

    // Game objects.

    void readObjects() {
        FileFacts& facts = m_result.facts;
        facts.objects.reserve(m_document.objects.size());
        for (const StoredObject& stored : m_document.objects) {
            const auto index = static_cast<std::uint32_t>(facts.objects.size());
            facts.objects.push_back({stored.uuid, Uuid::ZERO, offsetOf(stored.element), offsetOf(stored.element),
                                     stored.isUuidReadable, false, false, (stored.flags.value & 1U) != 0});
            checkObject(stored, index);
        }
        facts.byUuid.resize(facts.objects.size());
        for (std::uint32_t i = 0; i < facts.byUuid.size(); ++i) {
            facts.byUuid[i] = i;
        }
        std::sort(facts.byUuid.begin(), facts.byUuid.end(), [&facts](std::uint32_t a, std::uint32_t b) {
            return std::tie(facts.objects[a].uuid, a) < std::tie(facts.objects[b].uuid, b);
        });
    }

    void checkObject(const StoredObject& stored, std::uint32_t index) {
        if (stored.hasOtherElements) {
            checkChildren(stored.element, {ElementName::UUID, ElementName::NAME, ElementName::FLAGS}, 3, index);
        }
        if (!stored.isUuidReadable) {
            const DataNode element = stored.uuidElement ? stored.uuidElement : stored.element;
            add(FindingCode::UNREADABLE_UUID, Severity::ERROR,
                stored.uuidElement ? Anchor::value(element) : Anchor::name(element), "",
                stored.uuidElement ? quoted(element.text()) + " is no UUID." : "The game object has no UUID.",
                "Give the game object a UUID of its own: 8-4-4-4-12 hexadecimal digits.", index);
        } else if (stored.uuid == Uuid::ZERO) {
            add(FindingCode::ZERO_UUID, Severity::WARNING, Anchor::value(stored.uuidElement), "",
                "The game object has the zero UUID, which stands for no object, so nothing can link to it.",
                "Give the game object a UUID of its own.", index);
        }
        checkNumber(stored.flags.element, stored.flags.isReadable, "a decimal number from 0 to 63", index);
        const std::size_t limit = Tessel::prefabLimits().nameBytes;
        std::string scratch;
        if (stored.nameElement && stored.nameElement.text(scratch).size() > limit) {
            addLimit(Anchor::name(stored.nameElement), "bytes in the name of a game object",
                     stored.nameElement.text(scratch).size(), limit, "Shorten the name.", index);
        }
    }

    // Components.

    void checkPools() {
        for (const StoredPool& pool : m_document.pools) {
            if (pool.hasOtherElements) {
                checkChildren(pool.element, {ElementName::TYPE, ElementName::VERSION, ElementName::ITEM}, 2);
            }
            if (pool.type.empty()) {
                add(FindingCode::POOL_WITHOUT_TYPE, Severity::WARNING, Anchor::name(pool.element), "",
                    "The pool names no component type, so its components are skipped.",
                    "Add a 'type' element with the name of a component type.");
            } else if (pool.typeId == ComponentLibrary::INVALID_ID) {
                addUnknownComponent(pool);
            } else {
                checkPool(pool);
            }
        }
        std::vector<std::pair<std::uint32_t, Tessel::ComponentTypeId>>& components = m_result.facts.components;
        checkComponentCounts();
        components.erase(std::unique(components.begin(), components.end()), components.end());
        std::vector<NestingFacts>& nestings = m_result.facts.nestings;
        std::stable_sort(nestings.begin(), nestings.end(),
                         [](const NestingFacts& a, const NestingFacts& b) { return a.object < b.object; });
        // The loader uses the first of several.
        nestings.erase(std::unique(nestings.begin(), nestings.end(),
                                   [](const NestingFacts& a, const NestingFacts& b) { return a.object == b.object; }),
                       nestings.end());
    }

    void addUnknownComponent(const StoredPool& pool) {
        const std::optional<NearestName> nearest = nearestName(pool.type, componentNames());
        const std::size_t count = pool.items.size();
        PendingFinding& finding =
            add(FindingCode::UNKNOWN_COMPONENT, Severity::WARNING, Anchor::value(pool.typeElement), pool.type,
                formatText("The component type %s is not known, so %zu component%s skipped.", quoted(pool.type).c_str(),
                           count, count == 1 ? " is" : "s are") +
                    suggestion(nearest),
                nearest ? "Write '" + nearest->name + "', or load the library that has the type with --load."
                        : "Load the library that has the type with --load, or remove the pool.");
        if (nearest && nearest->isUnique && nearest->distance == 1) {
            finding.replacement = nearest->name;
            finding.fixTitle = "Replace the type by '" + nearest->name + "'";
        }
    }

    void checkPool(const StoredPool& pool) {
        std::uint32_t version = 0;
        try {
            version = ComponentLibrary::instance().componentMeta(pool.typeId).version;
        } catch (const std::runtime_error&) {
            return;
        }
        checkNumber(pool.version.element, pool.version.isReadable, "a decimal number", PendingFinding::NO_OBJECT);
        if (pool.version.isReadable && pool.version.value != version) {
            add(FindingCode::COMPONENT_VERSION, Severity::ERROR, Anchor::value(pool.version.element), pool.type,
                formatText("The components of type '%s' have version %u, but the type has version %u.",
                           pool.type.c_str(), pool.version.value, version),
                "Convert the components to the version of the type.");
        }
        for (const StoredItem& item : pool.items) {
            checkItem(pool, item);
        }
    }

    void checkItem(const StoredPool& pool, const StoredItem& item) {
        const auto index = item.object.value < m_document.objects.size() ? static_cast<std::uint32_t>(item.object.value)
                                                                         : PendingFinding::NO_OBJECT;
        if (item.hasOtherElements) {
            checkChildren(item.element, {ElementName::GAME_OBJECT, ElementName::OPTIONS, ElementName::PROPERTIES}, 3,
                          index);
        }
        checkNumber(item.object.element, item.object.isReadable, "the index of a game object, counting from 0", index);
        if (index == PendingFinding::NO_OBJECT) {
            if (item.object.isReadable) {
                addIndexOutOfRange(pool, item);
            }
            return; // The loader reads nothing more of it.
        }
        checkNumber(item.options.element, item.options.isReadable, "a decimal number", index);
        if (m_document.isRead(pool, item)) {
            checkComponent(pool, item, index);
        }
    }

    void addIndexOutOfRange(const StoredPool& pool, const StoredItem& item) {
        const std::size_t count = m_document.objects.size();
        const std::string message =
            item.object.element
                ? formatText(
                      "The component of type '%s' belongs to game object %llu, but there %s %zu, counted from 0.",
                      pool.type.c_str(), static_cast<unsigned long long>(item.object.value),
                      count == 1 ? "is only" : "are only", count)
                : formatText("The component of type '%s' names no game object.", pool.type.c_str());
        add(FindingCode::INDEX_OUT_OF_RANGE, Severity::ERROR,
            item.object.element ? Anchor::value(item.object.element) : Anchor::name(item.element), pool.type, message,
            "Write the index of the game object that has the component, or remove the component.");
    }

    void checkComponent(const StoredPool& pool, const StoredItem& item, std::uint32_t index) {
        IComponentDescriptor* const scratch = m_scratch.get(pool.typeId);
        if (!scratch) {
            add(FindingCode::UNKNOWN_COMPONENT, Severity::ERROR, Anchor::value(pool.typeElement), pool.type,
                "The library of the component type '" + pool.type + "' can't make a component.",
                "Fix the component library.", index);
            return;
        }
        m_components.push_back({index, scratch->type(), offsetOf(item.element)});
        if (scratch->type() == Tessel::NativeComponent<HierarchyComponent>::getType()) {
            checkHierarchyComponent(item, index, *scratch);
        } else if (scratch->type() == Tessel::NativeComponent<PrefabComponent>::getType()) {
            checkPrefabComponent(item, index, *scratch);
        } else if (scratch->type() == Tessel::NativeComponent<TransformComponent>::getType()) {
            checkTransform(item, index, *scratch);
        } else {
            checkItemValues(item, index, *scratch, nullptr);
        }
    }

    void checkItemValues(const StoredItem& item, std::uint32_t index, IComponentDescriptor& scratch,
                         const DataNode* parentElement) {
        const auto onLink = [&](DataNode element, const Uuid& target) {
            if (!parentElement && target != Uuid::ZERO) {
                m_result.facts.links.push_back(
                    {index, offsetOf(element), target, scratch.name() + "." + std::string(element.name())});
            }
        };
        ValueProblems problems(scratch.name(), index, {}, m_result.findings, onLink);
        checkValues(item.properties, scratch.configuration(), problems);
    }

    void checkHierarchyComponent(const StoredItem& item, std::uint32_t index, IComponentDescriptor& scratch) {
        auto& config = static_cast<ComponentDescriptor<HierarchyComponent>&>(scratch).config();
        config.parent.setUuid(Uuid::ZERO);
        const DataNode parent = findProperty(item, "parent");
        checkItemValues(item, index, scratch, &parent);
        ObjectFacts& object = m_result.facts.objects[index];
        if (!object.hasHierarchy) { // The loader uses the first of several.
            object.hasHierarchy = true;
            object.parent = config.parent.uuid();
            object.parentOffset = offsetOf(parent ? parent : item.element);
        }
    }

    void checkPrefabComponent(const StoredItem& item, std::uint32_t index, IComponentDescriptor& scratch) {
        auto& config = static_cast<ComponentDescriptor<PrefabComponent>&>(scratch).config();
        config = {};
        checkItemValues(item, index, scratch, nullptr);
        const Tessel::PrefabLimits limits = Tessel::prefabLimits();
        const DataNode resource = findProperty(item, PrefabComponent::RESOURCE_PROPERTY);
        const DataNode overrides = findProperty(item, PrefabComponent::OVERRIDES_DATA_PROPERTY);
        if (!m_result.facts.objects[index].hasPrefab) {
            if (config.resource.size() > limits.nameBytes) {
                addLimit(Anchor::name(resource), "bytes in the path of a prefab", config.resource.size(),
                         limits.nameBytes, "Shorten the path.", index);
            }
            if (config.overridesData.size() > limits.overrideTextBytes) {
                addLimit(Anchor::name(overrides), "bytes in the override data of a game object",
                         config.overridesData.size(), limits.overrideTextBytes, "Override fewer components.", index);
            }
            m_result.facts.objects[index].hasPrefab = true;
        }
        addCandidates(config.overridesData);
        m_result.facts.nestings.push_back({index, offsetOf(resource ? resource : item.element), offsetOf(overrides),
                                           std::move(config.resource), std::move(config.overridesData)});
    }

    void addCandidates(const std::string& overrides) {
        if (overrides.find(PrefabComponent::RESOURCE_PROPERTY) != std::string::npos ||
            overrides.find(PrefabComponent::OVERRIDES_DATA_PROPERTY) != std::string::npos) {
            collectResources(overrides, m_result.facts.candidates);
        }
    }

    void checkTransform(const StoredItem& item, std::uint32_t index, IComponentDescriptor& scratch) {
        Matrix& local = static_cast<ComponentDescriptor<TransformComponent>&>(scratch).config().local;
        local = Matrix::identity();
        checkItemValues(item, index, scratch, nullptr);
        if (local == Matrix::identity()) {
            return;
        }
        const DataNode element = findProperty(item, "local");
        m_transforms.emplace_back(index, offsetOf(element));
        if (!isFinite(local)) {
            add(FindingCode::SUSPICIOUS_TRANSFORM, Severity::WARNING, Anchor::value(element), "not finite",
                "The transform has a value that is infinite or not a number.", "Write 16 finite numbers.", index);
        } else if (hasZeroScale(local)) {
            add(FindingCode::SUSPICIOUS_TRANSFORM, Severity::WARNING, Anchor::value(element), "zero scale",
                "The transform has an axis of length zero, so the object is flat or has no size.",
                "Give each of the first three rows a length above zero.", index);
        }
    }

    void checkComponentCounts() {
        std::sort(m_components.begin(), m_components.end());
        const std::size_t limit = Tessel::prefabLimits().componentsPerObject;
        for (std::size_t begin = 0; begin < m_components.size();) {
            std::size_t end = begin + 1;
            for (; end < m_components.size() && m_components[end].object == m_components[begin].object; ++end) {
                const bool isSecond = m_components[end].type == m_components[end - 1].type &&
                                      (end - 1 == begin || m_components[end].type != m_components[end - 2].type);
                if (isSecond) {
                    addRepeatedComponent(m_components[end - 1], m_components[end]);
                }
            }
            const std::uint32_t object = m_components[begin].object;
            if (end - begin > limit) {
                addLimit(Anchor::name(m_document.objects[object].element), "components on a game object", end - begin,
                         limit, "Remove components of the game object.", object);
            }
            begin = end;
        }
        for (const Component& component : m_components) {
            m_result.facts.components.emplace_back(component.object, component.type);
        }
    }

    struct Component {
        std::uint32_t object;
        Tessel::ComponentTypeId type;
        std::uint32_t offset; ///< Of the item.

        friend auto operator<=>(const Component&, const Component&) = default;
    };

    void addRepeatedComponent(const Component& first, const Component& second) {
        const std::string name = ComponentLibrary::instance().componentName(second.type);
        PendingFinding& finding =
            add(FindingCode::REPEATED_COMPONENT, Severity::ERROR, {Anchor::Part::NAME, second.offset, 0, {}}, name,
                "The game object has two components of type '" + name + "', of which only the first is created.",
                "Remove one of them.", second.object);
        finding.related.push_back({{}, {Anchor::Part::NAME, first.offset, 0, {}}, "the first one is here"});
    }

    // Hierarchy.

    void checkHierarchy() {
        FileFacts& facts = m_result.facts;
        for (std::uint32_t i = 0; i < facts.objects.size() && facts.root == FileFacts::NONE; ++i) {
            facts.root = facts.objects[i].isRoot() ? i : FileFacts::NONE;
        }
        if (facts.root == FileFacts::NONE) {
            addNoRoot();
        } else if (facts.root != 0) {
            add(FindingCode::ROOT_NOT_FIRST, Severity::WARNING, Anchor::name(m_document.objects[facts.root].element),
                "",
                formatText("The root is game object %u instead of the first one, whose flags decide whether an "
                           "instance starts active.",
                           facts.root),
                "Move the root to the front of the list, and adapt the indices of the components.", facts.root);
        }
        addSeveralRoots();
        noteRootTransform();
        removeResolvedLinks();
    }

    void addNoRoot() {
        const bool isEmpty = m_document.objects.empty();
        add(FindingCode::NO_ROOT, Severity::ERROR, Anchor::name(m_document.gameObjectsElement), "",
            isEmpty ? "The prefab has no game objects, so it can't be created."
                    : "Every game object has a parent, so the prefab has no root and can't be created.",
            isEmpty ? "Add a game object." : "Remove the hierarchy component of the object that should be the root.");
    }

    /// Whether it is an error depends on whether the file is nested or loaded by itself.
    void addSeveralRoots() {
        const std::vector<ObjectFacts>& objects = m_result.facts.objects;
        std::vector<std::uint32_t> roots;
        for (std::uint32_t i = 0; i < objects.size(); ++i) {
            if (objects[i].isRoot()) {
                roots.push_back(i);
            }
        }
        if (roots.size() < 2) {
            return;
        }
        PendingFinding& finding =
            add(FindingCode::SEVERAL_ROOTS, Severity::ERROR, Anchor::name(m_document.objects[roots[1]].element), "",
                formatText("The prefab has %zu roots, but exactly one is permitted.", roots.size()),
                "Give all of them but one a hierarchy component that names a parent.", roots[1]);
        for (const std::uint32_t root : roots) {
            if (root == roots[1]) {
                continue;
            }
            const DataNode element = m_document.objects[root].element;
            finding.related.push_back(
                {{}, Anchor::name(element), quoted(m_document.objects[root].nameElement.text()) + " is a root"});
        }
    }

    void noteRootTransform() {
        for (const auto& [object, offset] : m_transforms) {
            if (object == m_result.facts.root) {
                m_result.facts.hasRootTransform = true;
                m_result.facts.rootTransformOffset = offset;
            }
        }
    }

    /// Keeps the links that the check of nesting has to follow.
    void removeResolvedLinks() {
        FileFacts& facts = m_result.facts;
        facts.links.erase(std::remove_if(facts.links.begin(), facts.links.end(),
                                         [&facts](const LinkFacts& link) {
                                             return !facts.objects[link.object].isPoint() &&
                                                    facts.find(link.target) != FileFacts::NONE;
                                         }),
                          facts.links.end());
    }

    const PrefabDocument& m_document;
    ScratchDescriptors& m_scratch;
    FileCheckResult m_result;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_transforms; ///< Objects and offsets, if not the identity.
    std::vector<Component> m_components;
    bool m_isWithinLimits = true;
};

} // namespace

FileCheckResult checkDocument(const PrefabDocument& document, FileFacts facts, ScratchDescriptors& scratch) {
    return DocumentCheck(document, std::move(facts), scratch).run();
}

} // namespace Kiln::PrefabInspection
