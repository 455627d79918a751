#include <prefab_comparison/composed_comparison.h>

#include <object_serialization/component_library.h>
#include <prefab_comparison/override_comparison.h>
#include <prefab_comparison/value_comparison.h>
#include <prefab_inspection/composition/prefab_file.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace Kiln::PrefabComparison {

using PrefabInspection::ComposedValue;
using PrefabInspection::Composition;
using PrefabInspection::NestingTypes;
using PrefabInspection::Origin;
using PrefabInspection::PrefabFile;
using PrefabInspection::ValueLayer;
using Inheritance = Change::Inheritance;

namespace {

constexpr std::size_t NONE = Composition::NONE;

[[nodiscard]] const ValueLayer* winner(const ComposedValue* value) {
    if (!value) {
        return nullptr;
    }
    const auto found = std::find_if(value->layers.rbegin(), value->layers.rend(),
                                    [](const ValueLayer& layer) { return layer.effect == ValueLayer::Effect::WINS; });
    return found == value->layers.rend() ? nullptr : &*found;
}

[[nodiscard]] bool isText(const ComposedValue& value) {
    return value.kind == mirra::ValueKind::SCALAR || value.kind == mirra::ValueKind::LINK;
}

/// Whether the value is the path of the instance's own file, which the loader sets in the root.
[[nodiscard]] bool isOwnPath(const ComposedValue& value) {
    const ValueLayer* const layer = winner(&value);
    return layer && layer->kind == ValueLayer::Kind::LOADING;
}

/// A value as text in one piece.
[[nodiscard]] std::string textOf(const ComposedValue& value) {
    if (isText(value)) {
        return value.text;
    }
    const bool isVector = value.kind == mirra::ValueKind::VECTOR;
    std::string text(1, isVector ? '[' : '{');
    const char* separator = "";
    for (const ComposedValue& child : value.children) {
        text += separator;
        text += isVector ? std::string() : child.name + ": ";
        text += textOf(child);
        separator = ", ";
    }
    return text + (isVector ? ']' : '}');
}

class ComposedComparison {
public:
    ComposedComparison(const Composition& a, const Composition& b) : m_a(a), m_b(b) {}

    [[nodiscard]] std::vector<Change> compare() {
        for (std::size_t b = 0; b < m_b.objects().size(); ++b) {
            const std::size_t a = m_a.findLiveUuid(m_b.objects()[b].uuid);
            if (a == NONE) {
                addObject(ChangeKind::OBJECT_ADDED, NONE, b);
            } else {
                compareObjects(a, b);
            }
        }
        for (std::size_t a = 0; a < m_a.objects().size(); ++a) {
            if (m_b.findLiveUuid(m_a.objects()[a].uuid) == NONE) {
                addObject(ChangeKind::OBJECT_REMOVED, a, NONE);
            }
        }
        return std::move(m_changes);
    }

private:
    /// Two values that correspond; null for one that does not exist.
    struct Values {
        const ComposedValue* a;
        const ComposedValue* b;
    };

    [[nodiscard]] static const std::string& topFile(const Composition& composition) {
        return composition.instances().front().file->path;
    }

    [[nodiscard]] Change objectChange(ChangeKind kind, std::size_t a, std::size_t b) const {
        const Composition& composition = b == NONE ? m_a : m_b;
        const std::size_t object = b == NONE ? a : b;
        Change change;
        change.kind = kind;
        change.uuid = composition.objects()[object].uuid.toString();
        change.objectPath = composition.path(object);
        return change;
    }

    /// Marks a change as inherited if it comes from another file than the one that is compared.
    void inherit(Change& change, const Composition& composition, const std::string& file) const {
        if (file != topFile(composition)) {
            change.inheritance = Inheritance::NESTED_FILE;
            change.source = file;
        }
    }

    void addObject(ChangeKind kind, std::size_t a, std::size_t b) {
        const Composition& composition = b == NONE ? m_a : m_b;
        const std::size_t object = b == NONE ? a : b;
        Change change = objectChange(kind, a, b);
        for (const Composition::Component& component : composition.components(object)) {
            change.content.emplace_back(typeName(component), std::string());
        }
        inherit(change, composition, *composition.origin(object).file);
        m_changes.push_back(std::move(change));
    }

    [[nodiscard]] static std::string typeName(const Composition::Component& component) {
        return ComponentLibrary::instance().componentName(component.typeId);
    }

    void compareObjects(std::size_t a, std::size_t b) {
        const Composition::Object& objectA = m_a.objects()[a];
        const Composition::Object& objectB = m_b.objects()[b];
        if (m_a.name(a) != m_b.name(b)) {
            Change change = objectChange(ChangeKind::OBJECT_RENAMED, a, b);
            change.before = m_a.name(a);
            change.after = m_b.name(b);
            inherit(change, m_b, *m_b.origin(b).file);
            m_changes.push_back(std::move(change));
        }
        const std::optional<std::string> parentA = parentText(m_a, a);
        const std::optional<std::string> parentB = parentText(m_b, b);
        if (parentA != parentB) {
            Change change = objectChange(ChangeKind::OBJECT_MOVED, a, b);
            change.before = parentA;
            change.after = parentB;
            change.content = {{"from", parentA ? m_a.path(objectA.parent) : std::string()},
                              {"to", parentB ? m_b.path(objectB.parent) : std::string()}};
            inherit(change, m_b, *m_b.origin(b).file);
            m_changes.push_back(std::move(change));
        }
        if (objectA.flags != objectB.flags) {
            Change change = objectChange(ChangeKind::FLAGS_CHANGED, a, b);
            change.before = std::to_string(objectA.flags);
            change.after = std::to_string(objectB.flags);
            const bool isRootChange = ownFlags(m_a, a) == ownFlags(m_b, b) && m_b.rootOrigin(b);
            inherit(change, m_b, isRootChange ? *m_b.rootOrigin(b).file : *m_b.origin(b).file);
            m_changes.push_back(std::move(change));
        }
        compareComponents(a, b);
    }

    [[nodiscard]] static std::optional<std::string> parentText(const Composition& composition, std::size_t object) {
        const std::size_t parent = composition.objects()[object].parent;
        return parent == NONE ? std::nullopt : std::optional(composition.objects()[parent].uuid.toString());
    }

    /// The flags that the file has which contains the element of the object: of an integration point its own ones,
    /// without those of the nested root.
    [[nodiscard]] static std::uint32_t ownFlags(const Composition& composition, std::size_t object) {
        const Composition::Object& live = composition.objects()[object];
        const Composition::Instance& instance = composition.instances()[live.instance];
        if (!live.isPoint || instance.enclosing == NONE) {
            return live.flags;
        }
        const PrefabFile& file = *composition.instances()[instance.enclosing].file;
        return file.document->objects[instance.point].flags.value;
    }

    void compareComponents(std::size_t a, std::size_t b) {
        const std::vector<Composition::Component> componentsA = m_a.components(a);
        const std::vector<Composition::Component> componentsB = m_b.components(b);
        const auto find = [](const std::vector<Composition::Component>& components, std::size_t typeId) {
            return std::find_if(components.begin(), components.end(),
                                [typeId](const auto& component) { return component.typeId == typeId; });
        };
        for (const Composition::Component& component : componentsB) {
            const auto other = find(componentsA, component.typeId);
            if (other == componentsA.end()) {
                addComponent(ChangeKind::COMPONENT_ADDED, objectChange(ChangeKind::COMPONENT_ADDED, a, b), m_b, b,
                             component);
            } else {
                Change base = objectChange(ChangeKind::VALUE_CHANGED, a, b);
                base.component = typeName(component);
                m_typeId = component.typeId;
                compareLists(m_a.values(a, *other), m_b.values(b, component), base);
            }
        }
        for (const Composition::Component& component : componentsA) {
            if (find(componentsB, component.typeId) == componentsB.end()) {
                addComponent(ChangeKind::COMPONENT_REMOVED, objectChange(ChangeKind::COMPONENT_REMOVED, a, b), m_a, a,
                             component);
            }
        }
    }

    void addComponent(ChangeKind kind, Change change, const Composition& composition, std::size_t object,
                      const Composition::Component& component) {
        change.kind = kind;
        change.component = typeName(component);
        for (const ComposedValue& value : composition.values(object, component)) {
            change.content.emplace_back(value.name, textOf(value));
        }
        inherit(change, composition, component.file->path);
        m_changes.push_back(std::move(change));
    }

    void compareLists(const std::vector<ComposedValue>& a, const std::vector<ComposedValue>& b, const Change& base) {
        // Both have the members of the type, in the order of its description.
        for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
            Change change = base;
            change.property += (base.property.empty() ? "" : ".") + b[i].name;
            m_path.push_back(b[i].name);
            compareValues(a[i], b[i], change);
            m_path.pop_back();
        }
    }

    void compareValues(const ComposedValue& a, const ComposedValue& b, Change& change) {
        if (isText(b)) {
            if (!m_values.isSameText(m_typeId, m_path, a.text, b.text)) {
                addTextChange(a, b, change);
            }
        } else if (b.kind == mirra::ValueKind::STRUCTURE) {
            compareLists(a.children, b.children, change);
        } else {
            m_path.emplace_back("value");
            for (std::size_t i = 0; i < std::max(a.children.size(), b.children.size()); ++i) {
                Change element = change;
                element.property += "[" + std::to_string(i) + "]";
                if (i < a.children.size() && i < b.children.size()) {
                    compareValues(a.children[i], b.children[i], element);
                } else {
                    addElement(i < a.children.size() ? &a.children[i] : nullptr,
                               i < b.children.size() ? &b.children[i] : nullptr, {&a, &b}, element);
                }
            }
            m_path.pop_back();
        }
    }

    void addTextChange(const ComposedValue& a, const ComposedValue& b, Change& change) {
        // The names of the two compared files do not count.
        if (isOwnPath(a) && isOwnPath(b)) {
            return;
        }
        setInheritance(change, {&a, &b});
        change.before = a.text;
        change.after = b.text;
        if (m_typeId == NestingTypes::get().prefab) {
            if (change.property == Tessel::PrefabComponent::OVERRIDES_DATA_PROPERTY) {
                change.before.reset();
                change.after.reset();
                compareOverrideTexts(m_values, a.text, b.text, change, m_changes);
                return;
            }
            change.kind = change.property == Tessel::PrefabComponent::RESOURCE_PROPERTY
                              ? ChangeKind::NESTED_PREFAB_CHANGED
                              : change.kind;
        }
        m_changes.push_back(std::move(change));
    }

    /// An element that only one of two vectors has.
    void addElement(const ComposedValue* a, const ComposedValue* b, Values vectors, Change& change) {
        setInheritance(change, vectors);
        change.kind = a ? ChangeKind::VALUE_REMOVED : ChangeKind::VALUE_ADDED;
        change.before = a ? std::optional(textOf(*a)) : std::nullopt;
        change.after = b ? std::optional(textOf(*b)) : std::nullopt;
        m_changes.push_back(std::move(change));
    }

    void setInheritance(Change& change, Values values) const {
        const ValueLayer* const layers[] = {winner(values.b), winner(values.a)};
        for (const ValueLayer* const layer : layers) {
            if (layer && layer->kind == ValueLayer::Kind::OVERRIDE) {
                change.inheritance = Inheritance::OVERRIDE;
                change.source = *layer->origin.file;
                return;
            }
        }
        const Composition* composition = &m_b;
        for (const ValueLayer* const layer : layers) {
            if (layer && layer->kind == ValueLayer::Kind::FILE && change.inheritance == Inheritance::NONE) {
                inherit(change, *composition, *layer->origin.file);
            }
            composition = &m_a;
        }
    }

    const Composition& m_a;
    const Composition& m_b;
    ValueComparison m_values;
    std::size_t m_typeId = 0;        ///< Of the components that are being compared.
    std::vector<std::string> m_path; ///< Of the values that are being compared, see ValueComparison::isSameText().
    std::vector<Change> m_changes;
};

} // namespace

std::vector<Change> compareCompositions(const Composition& a, const Composition& b) {
    return ComposedComparison(a, b).compare();
}

} // namespace Kiln::PrefabComparison
