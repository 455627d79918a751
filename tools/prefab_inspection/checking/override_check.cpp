#include <prefab_inspection/checking/override_check.h>

#include <core/formatter.h>
#include <generic_components/transform_component.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <prefab_inspection/checking/nearest_name.h>
#include <prefab_inspection/checking/quoted_text.h>
#include <prefab_inspection/checking/value_problems.h>
#include <prefab_inspection/documents/prefab_document.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <set>
#include <tuple>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

using Tessel::ComponentTypeId;
using Tessel::HierarchyComponent;
using Tessel::NativeComponent;
using Tessel::PrefabComponent;
using Tessel::TransformComponent;

class OverrideCheck {
public:
    OverrideCheck(ScratchDescriptors& scratch, std::vector<PendingFinding>& findings)
        : m_scratch(scratch), m_findings(findings) {}

    void checkText(const OverrideLayer& layer) {
        if (!m_checkedLayers.insert(&layer).second) {
            return;
        }
        const OverrideDocument& document = layer.document;
        if (document.problem) {
            addMalformed(
                layer, {Anchor::Part::POSITION, document.problem->position.line, document.problem->position.column, {}},
                "The override data is not well-formed XML: " + document.problem->description + ".",
                "Correct the XML text; the loader ignores all of it.");
        } else if (!document.isRootKnown) {
            addMalformed(layer, Anchor::name(document.section->node()),
                         "The root element of the override data is " + quoted(document.section->sectionName()) +
                             " instead of 'overrides', so all of it is ignored.",
                         "Rename the root element to 'overrides'.");
        } else if (document.section) {
            checkChildren(layer, document.section->node(), {ElementName::GAME_OBJECT}, 0);
        }
        for (const OverriddenObject& object : document.objects) {
            checkObjectText(layer, object);
        }
    }

    void checkInstance(const PrefabInstance& instance) {
        for (const OverrideLayer* const layer : instance.layers) {
            for (const OverriddenObject& object : layer->document.objects) {
                if (object.uuid) {
                    checkObject(instance, *layer, object);
                }
            }
        }
        noteVisible(instance);
    }

    /// To be called after all instances have been checked.
    void addHiddenOverrides() {
        for (const auto& [component, use] : m_uses) {
            if (use.isVisible || !use.hiding) {
                continue;
            }
            PendingFinding& finding = add(*use.layer, FindingCode::HIDDEN_OVERRIDE, Severity::NOTE,
                                          Anchor::name(component->element), component->type);
            finding.message = "A further override sets all of these properties of " + quoted(component->type) +
                              ", so this one is not seen here.";
            finding.cure = "Remove this override if nothing else uses it.";
            finding.related.push_back(
                {use.hiding->file, Anchor::name(use.hidingElement).in(use.hiding->embedding), "this override wins"});
        }
    }

private:
    PendingFinding& add(const OverrideLayer& layer, FindingCode code, Severity severity, Anchor anchor,
                        const std::string& subject) {
        PendingFinding& finding = m_findings.emplace_back();
        finding.code = code;
        finding.severity = severity;
        finding.file = layer.file;
        finding.object = layer.object;
        finding.anchor = std::move(anchor).in(layer.embedding);
        finding.subject = layer.objectUuid.toString() + " " + subject;
        return finding;
    }

    void addMalformed(const OverrideLayer& layer, Anchor anchor, std::string message, std::string cure) {
        PendingFinding& finding =
            add(layer, FindingCode::MALFORMED_OVERRIDES, Severity::ERROR, std::move(anchor), "override data");
        finding.message = std::move(message);
        finding.cure = std::move(cure);
    }

    // The text by itself.

    void checkObjectText(const OverrideLayer& layer, const OverriddenObject& object) {
        if (!object.uuid) {
            const bool hasElement = static_cast<bool>(object.uuidElement);
            addMalformed(layer, hasElement ? Anchor::value(object.uuidElement) : Anchor::name(object.element),
                         hasElement ? quoted(object.uuidElement.text()) + " is no UUID, so the overrides of the game "
                                                                          "object are skipped."
                                    : "The overrides name no game object, so they are skipped.",
                         "Write the UUID that the game object has in the nested prefab.");
            return; // The loader reads nothing more of it.
        }
        checkChildren(layer, object.element, {ElementName::UUID, ElementName::COMPONENT}, 1);
        for (const OverriddenComponent& component : object.components) {
            checkChildren(layer, component.element, {ElementName::TYPE, ElementName::PROPERTIES}, 2);
            if (component.type.empty()) {
                addMalformed(layer, Anchor::name(component.element),
                             "The overrides name no component type, so they are skipped.",
                             "Add a 'type' element with the name of a component type.");
            } else if (!component.properties) {
                addWithoutEffect(layer, component, "There is no 'properties' element, so nothing is overridden.",
                                 "Add a 'properties' element, or remove the override.");
            }
        }
    }

    void checkChildren(const OverrideLayer& layer, DataNode parent, std::initializer_list<const char*> names,
                       std::size_t singleCount) {
        std::set<std::string_view> found;
        for (DataNode child = parent.firstChild(); child; child = child.nextSibling()) {
            const auto name =
                std::find_if(names.begin(), names.end(), [child](const char* known) { return child.isNamed(known); });
            const bool isSingle = name < names.begin() + singleCount;
            if (name != names.end() && (found.insert(*name).second || !isSingle)) {
                continue;
            }
            const bool isUnknown = name == names.end();
            const std::optional<NearestName> nearest =
                isUnknown ? nearestName(child.name(), {names.begin(), names.end()}) : std::nullopt;
            PendingFinding& finding =
                add(layer, isUnknown ? FindingCode::UNKNOWN_ELEMENT : FindingCode::REPEATED_ELEMENT, Severity::WARNING,
                    Anchor::name(child), std::string(child.name()));
            finding.message = "The element " + quoted(child.name()) +
                              (isUnknown ? " is not known here and is ignored." + suggestion(nearest)
                                         : " appears twice; the loader uses only the first.");
            finding.cure =
                nearest ? "Rename the element to '" + nearest->name + "', or remove it." : "Remove the element.";
        }
    }

    // The text where it applies.

    void checkObject(const PrefabInstance& instance, const OverrideLayer& layer, const OverriddenObject& object) {
        if (*object.uuid == Uuid::ZERO && instance.isFirst && !overridesRoot(instance)) {
            checkComponents(instance, layer, object, instance.facts->root);
            return;
        }
        if (instance.facts->find(*object.uuid) == FileFacts::NONE) {
            if (m_unknownObjects.insert(&object).second) {
                addUnknownObject(instance, layer, object);
            }
            return;
        }
        // Several objects may have the UUID; the override reaches all of them.
        for (const std::uint32_t bearer : instance.facts->findAll(*object.uuid)) {
            checkComponents(instance, layer, object, bearer);
        }
    }

    void checkComponents(const PrefabInstance& instance, const OverrideLayer& layer, const OverriddenObject& object,
                         std::uint32_t target) {
        for (const OverriddenComponent& component : object.components) {
            if (!component.type.empty() && component.properties) {
                checkComponent(instance, layer, component, target);
            }
        }
    }

    /// Whether overrides name the root by its own UUID; then they take the place of those for the zero UUID.
    [[nodiscard]] static bool overridesRoot(const PrefabInstance& instance) {
        const Uuid& root = instance.facts->objects[instance.facts->root].uuid;
        return std::any_of(instance.layers.begin(), instance.layers.end(), [&root](const OverrideLayer* layer) {
            const std::vector<OverriddenObject>& objects = layer->document.objects;
            return std::any_of(objects.begin(), objects.end(),
                               [&root](const OverriddenObject& object) { return object.uuid == root; });
        });
    }

    void addUnknownObject(const PrefabInstance& instance, const OverrideLayer& layer, const OverriddenObject& object) {
        PendingFinding& finding = add(layer, FindingCode::OVERRIDE_OF_UNKNOWN_OBJECT, Severity::WARNING,
                                      Anchor::value(object.uuidElement), object.uuid->toString());
        const std::string prefab = quoted(instance.path);
        if (*object.uuid == Uuid::ZERO) {
            finding.message = "The zero UUID stands for the root only in a prefab that is loaded by itself, not in the "
                              "nested prefab " +
                              prefab + ".";
            finding.cure = "Write the UUID of the root of " + prefab + ".";
        } else {
            finding.message =
                "The nested prefab " + prefab + " has no game object with the UUID " + object.uuid->toString() + ".";
            finding.cure = "Write a UUID of " + prefab +
                           "; objects of prefabs that are nested deeper are overridden through the override data of "
                           "their integration point.";
        }
    }

    void checkComponent(const PrefabInstance& instance, const OverrideLayer& layer,
                        const OverriddenComponent& component, std::uint32_t target) {
        const bool isNew = m_checkedComponents.insert({&component, instance.facts, target}).second;
        const std::size_t typeId = ComponentLibrary::instance().findComponent(component.type);
        IComponentDescriptor* const scratch = typeId == ComponentLibrary::INVALID_ID ? nullptr : m_scratch.get(typeId);
        if (!isNew) {
            return;
        }
        if (!scratch) {
            addUnknownComponent(layer, component);
            return;
        }
        const ObjectFacts& object = instance.facts->objects[target];
        const bool isPrefab = scratch->type() == NativeComponent<PrefabComponent>::getType();
        if (!instance.isCreated(target)) {
            addWithoutEffect(layer, component,
                             "The game object is a second root of the nested prefab, of which nothing is created.",
                             "Remove the override, or give the object a parent.");
        } else if (object.isPoint() && !isPrefab) {
            addWithoutEffect(layer, component,
                             "The game object nests a prefab itself, and only its PrefabComponent can be overridden "
                             "from here.",
                             "Override the 'overridesData' of its PrefabComponent by overrides of the nested root.");
        } else if (!hasComponent(instance, target, scratch->type())) {
            addMissingComponent(layer, component);
        } else {
            checkProperties(layer, component, *scratch);
        }
    }

    void addUnknownComponent(const OverrideLayer& layer, const OverriddenComponent& component) {
        const std::optional<NearestName> nearest = nearestName(component.type, componentNames());
        PendingFinding& finding = add(layer, FindingCode::OVERRIDE_OF_UNKNOWN_COMPONENT, Severity::WARNING,
                                      Anchor::value(component.typeElement), component.type);
        finding.message = "The component type " + quoted(component.type) +
                          " is not known, so the override is ignored." + suggestion(nearest);
        finding.cure = nearest ? "Write '" + nearest->name + "', or load the library that has the type with --load."
                               : "Load the library that has the type with --load, or remove the override.";
    }

    void addMissingComponent(const OverrideLayer& layer, const OverriddenComponent& component) {
        PendingFinding& finding = add(layer, FindingCode::OVERRIDE_OF_UNKNOWN_COMPONENT, Severity::WARNING,
                                      Anchor::value(component.typeElement), component.type);
        finding.message =
            "The game object has no component of type " + quoted(component.type) + ", so the override is ignored.";
        finding.cure = "Add the component to the object in the nested prefab, or remove the override.";
    }

    void addWithoutEffect(const OverrideLayer& layer, const OverriddenComponent& component, std::string message,
                          std::string cure) {
        PendingFinding& finding = add(layer, FindingCode::OVERRIDE_WITHOUT_EFFECT, Severity::WARNING,
                                      Anchor::name(component.element), component.type);
        finding.message = std::move(message);
        finding.cure = std::move(cure);
    }

    /// The components of a nested root are those of the integration point and those that only the root has.
    [[nodiscard]] static bool hasComponent(const PrefabInstance& instance, std::uint32_t object, ComponentTypeId type) {
        if (object != instance.facts->root || instance.isTop()) {
            return instance.facts->hasComponent(object, type);
        }
        const bool isMerged = type != NativeComponent<TransformComponent>::getType() &&
                              type != NativeComponent<HierarchyComponent>::getType();
        return instance.outer->hasComponent(instance.outerObject, type) ||
               (isMerged && instance.facts->hasComponent(object, type));
    }

    void checkProperties(const OverrideLayer& layer, const OverriddenComponent& component,
                         IComponentDescriptor& scratch) {
        const std::size_t first = m_findings.size();
        ValueProblems problems(scratch.name(), layer.object, layer.embedding, m_findings,
                               [](DataNode /*element*/, const Uuid& /*target*/) {});
        checkValues(component.properties, scratch.configuration(), problems);
        for (std::size_t i = first; i < m_findings.size(); ++i) {
            m_findings[i].file = layer.file;
        }
    }

    // What remains of the overrides.

    struct Use {
        const OverrideLayer* layer = nullptr;
        bool isVisible = false;
        const OverrideLayer* hiding = nullptr;
        DataNode hidingElement;
    };

    /// A property that a layer sets: game object, component type, name.
    using PropertyKey = std::tuple<Uuid, std::string_view, std::string_view>;

    void noteVisible(const PrefabInstance& instance) {
        struct Setter {
            const OverriddenComponent* component;
            const OverrideLayer* layer;
        };
        std::map<PropertyKey, Setter> winners; // From the last override to the first.
        for (auto layer = instance.layers.rbegin(); layer != instance.layers.rend(); ++layer) {
            const std::vector<OverriddenObject>& objects = (*layer)->document.objects;
            for (auto object = objects.rbegin(); object != objects.rend(); ++object) {
                for (auto component = object->components.rbegin();
                     object->uuid && component != object->components.rend(); ++component) {
                    noteComponent(*object->uuid, *component, **layer, winners);
                }
            }
        }
    }

    template <class Winners>
    void noteComponent(const Uuid& uuid, const OverriddenComponent& component, const OverrideLayer& layer,
                       Winners& winners) {
        Use& use = m_uses[&component];
        use.layer = &layer;
        bool isVisible = !component.properties.firstChild();
        for (DataNode child = component.properties.firstChild(); child; child = child.nextSibling()) {
            const auto [winner, isFirst] = winners.try_emplace(PropertyKey(uuid, component.type, child.name()),
                                                               typename Winners::mapped_type{&component, &layer});
            if (isFirst || winner->second.component == &component) {
                isVisible = true;
            } else {
                use.hiding = winner->second.layer;
                use.hidingElement = winner->second.component->element;
            }
        }
        use.isVisible = use.isVisible || isVisible;
    }

    ScratchDescriptors& m_scratch;
    std::vector<PendingFinding>& m_findings;
    std::set<const OverrideLayer*> m_checkedLayers;
    std::set<const OverriddenObject*> m_unknownObjects;
    std::set<std::tuple<const OverriddenComponent*, const FileFacts*, std::uint32_t>> m_checkedComponents;
    std::map<const OverriddenComponent*, Use> m_uses;
};

} // namespace

void checkOverrides(const PrefabInstances& instances, ScratchDescriptors& scratch,
                    std::vector<PendingFinding>& findings) {
    OverrideCheck check(scratch, findings);
    for (const OverrideLayer* const layer : instances.usedLayers()) {
        check.checkText(*layer);
    }
    for (const std::unique_ptr<PrefabInstance>& instance : instances.all()) {
        check.checkInstance(*instance);
    }
    check.addHiddenOverrides();
}

} // namespace Kiln::PrefabInspection
