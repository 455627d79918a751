#include <prefab_inspection/checking/nesting_check.h>

#include <common/uuid_division.h>
#include <common/white_space.h>
#include <core/formatter.h>
#include <generic_components/transform_component.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <prefab_inspection/checking/link_targets.h>
#include <prefab_inspection/checking/quoted_text.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

using Tessel::ComponentTypeId;
using Tessel::NativeComponent;

/// How many UUIDs of nested prefabs are compared when two integration points have the same UUID.
constexpr std::size_t MAX_COMPARED_UUIDS = 1'000'000;

/// How many UUIDs are compared with those that nested prefabs get, in all, and below the nested prefabs of one file.
constexpr std::size_t MAX_DERIVED_UUIDS = 20'000'000;
constexpr std::size_t MAX_DEEP_STEPS = 300;

/// The UUIDs that the objects of a nested instance have relative to it.
void collectUuids(const PrefabInstance& instance, const UuidCombiner* outer, std::unordered_set<Uuid>& uuids) {
    const auto relative = [outer](const Uuid& uuid) { return outer ? (*outer)(uuid) : uuid; };
    const std::vector<ObjectFacts>& objects = instance.facts->objects;
    for (std::uint32_t i = 0; i < objects.size() && uuids.size() < MAX_COMPARED_UUIDS; ++i) {
        if (!objects[i].isPoint() && instance.isCreated(i)) {
            uuids.insert(relative(objects[i].uuid));
        } else if (const PrefabInstance::Point* const point = instance.findPoint(i);
                   point && point->nested && !point->nested->isEndless) {
            const UuidCombiner combiner(relative(objects[i].uuid));
            collectUuids(*point->nested, &combiner, uuids);
        }
    }
}

class NestingCheck {
public:
    explicit NestingCheck(std::vector<PendingFinding>& findings) : m_findings(findings) {}

    void checkInstance(const PrefabInstance& instance) {
        if (m_duplicatesChecked.insert({instance.facts, instance.isTop()}).second || !instance.layers.empty()) {
            checkDuplicates(instance);
        }
        checkPoints(instance);
        if (m_checkedFiles.insert(instance.facts).second) {
            checkParents(instance);
            checkLinks(instance);
        }
        std::vector<const PrefabInstance*> nested;
        for (const PrefabInstance::Point& point : instance.points) {
            nested.push_back(point.nested);
        }
        const std::map<Uuid, Uuid> parents = overriddenParents(instance);
        if (m_checkedNesting.insert({instance.facts, std::move(nested)}).second) {
            checkDerivedUuids(instance);
            checkParentCycles(instance, parents);
        } else if (!parents.empty()) {
            checkParentCycles(instance, parents);
        }
    }

    void addNestedRoots() {
        for (auto& [key, finding] : m_nestedRoots) {
            m_findings.push_back(std::move(finding));
        }
    }

private:
    PendingFinding& add(const PrefabInstance& instance, FindingCode code, Severity severity, Anchor anchor,
                        std::uint32_t object) {
        PendingFinding& finding = m_findings.emplace_back();
        finding.code = code;
        finding.severity = severity;
        finding.file = instance.path;
        finding.anchor = std::move(anchor);
        finding.object = object;
        return finding;
    }

    // UUIDs.

    void checkDuplicates(const PrefabInstance& instance) {
        const FileFacts& facts = *instance.facts;
        for (std::size_t begin = 0; begin < facts.byUuid.size();) {
            const Uuid& uuid = facts.objects[facts.byUuid[begin]].uuid;
            std::vector<std::uint32_t> group;
            std::size_t end = begin;
            for (; end < facts.byUuid.size() && facts.objects[facts.byUuid[end]].uuid == uuid; ++end) {
                if (facts.objects[facts.byUuid[end]].isUuidReadable) {
                    group.push_back(facts.byUuid[end]);
                }
            }
            if (group.size() > 1) {
                addDuplicates(instance, group);
            }
            begin = end;
        }
    }

    void addDuplicates(const PrefabInstance& instance, const std::vector<std::uint32_t>& group) {
        const Uuid& uuid = instance.facts->objects[group.front()].uuid;
        const bool isError = doCollide(instance, group);
        const auto [known, isNew] = m_duplicates.try_emplace({instance.facts, uuid}, m_findings.size());
        if (!isNew) {
            Severity& severity = m_findings[known->second].severity;
            severity = isError ? Severity::ERROR : severity;
            return;
        }
        const auto anchorOf = [&](std::uint32_t object) {
            return Anchor{Anchor::Part::NAME, instance.facts->objects[object].elementOffset, 0, {}};
        };
        PendingFinding& finding = add(instance, FindingCode::DUPLICATE_UUID,
                                      isError ? Severity::ERROR : Severity::WARNING, anchorOf(group[1]), group[1]);
        finding.subject = uuid.toString();
        finding.message =
            formatText("%zu game objects of the prefab have the UUID %s.", group.size(), finding.subject.c_str());
        finding.cure = "Give each game object a UUID of its own.";
        for (const std::uint32_t object : group) {
            if (object == group[1]) {
                continue;
            }
            finding.related.push_back({instance.path, anchorOf(object), "an object with this UUID"});
        }
    }

    /// Whether two live objects would get the same UUID, which makes the creation fail.
    [[nodiscard]] static bool doCollide(const PrefabInstance& instance, const std::vector<std::uint32_t>& group) {
        std::size_t ownCount = 0;
        std::unordered_set<Uuid> nested;
        for (const std::uint32_t object : group) {
            if (!instance.facts->objects[object].isPoint()) {
                ownCount += instance.isCreated(object) ? 1 : 0;
                continue;
            }
            const PrefabInstance::Point* const point = instance.findPoint(object);
            if (!point || !point->nested) {
                continue;
            }
            std::unordered_set<Uuid> uuids;
            collectUuids(*point->nested, nullptr, uuids);
            const bool isMet =
                std::any_of(uuids.begin(), uuids.end(), [&nested](const Uuid& uuid) { return nested.contains(uuid); });
            if (isMet) {
                return true;
            }
            nested.merge(uuids);
        }
        return ownCount > 1;
    }

    /// Objects whose UUID is the one that an object of a nested prefab gets, because somebody has copied it.
    void checkDerivedUuids(const PrefabInstance& instance) {
        m_deepStepsLeft = MAX_DEEP_STEPS;
        const std::vector<ObjectFacts>& objects = instance.facts->objects;
        for (const PrefabInstance::Point& point : instance.points) {
            if (!point.nested || objects.size() > m_derivedUuidsLeft) {
                continue;
            }
            m_derivedUuidsLeft -= objects.size();
            const UuidDivider divider(objects[point.object].uuid);
            for (std::uint32_t i = 0; i < objects.size(); ++i) {
                const PrefabInstance::Point* const own = instance.findPoint(i);
                const bool isOwner =
                    own ? own != &point && own->nested : instance.isCreated(i) && !objects[i].isPoint();
                if (isOwner && isDerived(*point.nested, divider(objects[i].uuid), own,
                                         LinkTargets::isGenerated(objects[i].uuid), 1)) {
                    addDerivedUuid(instance, i, point);
                }
            }
        }
    }

    /// Whether the object with that UUID in a nested prefab, at any depth, gets the UUIDs of an object of the enclosing
    /// prefab, or, if that is an integration point, of the objects that are nested there. The UUIDs of most objects are
    /// random; for these, only the nested prefab itself is searched.
    [[nodiscard]] bool isDerived(const PrefabInstance& nested, const Uuid& uuid, const PrefabInstance::Point* own,
                                 bool isOwnGenerated, int depth) {
        const std::uint32_t inner = nested.facts->find(uuid);
        if (inner != FileFacts::NONE && nested.isCreated(inner)) {
            const PrefabInstance::Point* const innerPoint = nested.findPoint(inner);
            return own ? innerPoint && innerPoint->nested && doUuidsMeet(*own->nested, *innerPoint->nested)
                       : !nested.facts->objects[inner].isPoint();
        }
        if (isOwnGenerated || depth > Tessel::GameObjectPrefab::MAX_NESTING_DEPTH) {
            return false;
        }
        return std::any_of(nested.points.begin(), nested.points.end(), [&](const PrefabInstance::Point& point) {
            if (!point.nested || m_deepStepsLeft == 0) {
                return false;
            }
            --m_deepStepsLeft;
            const UuidDivider divider(nested.facts->objects[point.object].uuid);
            return isDerived(*point.nested, divider(uuid), own, isOwnGenerated, depth + 1);
        });
    }

    [[nodiscard]] static bool doUuidsMeet(const PrefabInstance& first, const PrefabInstance& second) {
        std::unordered_set<Uuid> uuids;
        collectUuids(first, nullptr, uuids);
        std::unordered_set<Uuid> others;
        collectUuids(second, nullptr, others);
        return std::any_of(others.begin(), others.end(), [&uuids](const Uuid& uuid) { return uuids.contains(uuid); });
    }

    void addDerivedUuid(const PrefabInstance& instance, std::uint32_t object, const PrefabInstance::Point& point) {
        PendingFinding& finding =
            add(instance, FindingCode::DUPLICATE_UUID, Severity::ERROR,
                Anchor{Anchor::Part::NAME, instance.facts->objects[object].elementOffset, 0, {}}, object);
        finding.subject = instance.facts->objects[object].uuid.toString();
        finding.message = "The UUID " + finding.subject + " is the one that an object of the nested prefab " +
                          quoted(point.edge.to) + " gets here.";
        finding.cure = "Give the game object a UUID of its own.";
        finding.related.push_back({point.edge.from, point.edge.anchor, "nested here"});
    }

    // Integration points.

    void checkPoints(const PrefabInstance& instance) {
        for (const PrefabInstance::Point& point : instance.points) {
            const bool isNew =
                point.nested && m_checkedPoints.insert({instance.facts, point.object, point.nested->facts}).second;
            if (isNew) {
                checkRepeatedComponents(instance, point);
                checkNestedRoot(point);
            }
        }
    }

    void checkRepeatedComponents(const PrefabInstance& instance, const PrefabInstance::Point& point) {
        const FileFacts& nested = *point.nested->facts;
        auto component = std::lower_bound(nested.components.begin(), nested.components.end(),
                                          std::pair(nested.root, ComponentTypeId{0}));
        for (; component != nested.components.end() && component->first == nested.root; ++component) {
            const ComponentTypeId type = component->second;
            const bool isOwnAlways = type == NativeComponent<Tessel::TransformComponent>::getType() ||
                                     type == NativeComponent<Tessel::PrefabComponent>::getType();
            if (isOwnAlways || !instance.facts->hasComponent(point.object, type)) {
                continue;
            }
            const std::string name = ComponentLibrary::instance().componentName(type);
            PendingFinding& finding = add(
                instance, FindingCode::COMPONENT_AT_POINT_AND_ROOT, Severity::WARNING,
                Anchor{Anchor::Part::NAME, instance.facts->objects[point.object].elementOffset, 0, {}}, point.object);
            finding.subject = name;
            finding.message =
                formatText("The integration point has a '%s' of its own, so that of the root of %s is not "
                           "used.",
                           name.c_str(), quoted(point.edge.to).c_str());
            finding.cure = "Remove the component here and override that of the root in 'overridesData', or keep it if "
                           "it should replace that of the root.";
            finding.related.push_back({point.edge.to,
                                       Anchor{Anchor::Part::NAME, nested.objects[nested.root].elementOffset, 0, {}},
                                       "the root of the nested prefab"});
        }
    }

    void checkNestedRoot(const PrefabInstance::Point& point) {
        const FileFacts& nested = *point.nested->facts;
        if (nested.hasRootTransform) {
            PendingFinding& finding = nestedRootFinding(point, FindingCode::NESTED_TRANSFORM_IGNORED,
                                                        Anchor::valueAt(nested.rootTransformOffset));
            finding.message = "The root has a transform, which is not used where the prefab is nested.";
            finding.cure = "Move the transform to the children of the root, or to the integration points.";
            finding.related.push_back({point.edge.from, point.edge.anchor, "nested here"});
        }
        if (nested.objects[nested.root].isInactive) {
            PendingFinding& finding =
                nestedRootFinding(point, FindingCode::NESTED_ROOT_INACTIVE,
                                  Anchor{Anchor::Part::NAME, nested.objects[nested.root].elementOffset, 0, {}});
            finding.message =
                "The root is inactive by default, and so is every integration point that nests the prefab.";
            finding.cure =
                "Remove the flag 1 from the root, and set it at the integration points that should be inactive.";
            finding.related.push_back({point.edge.from, point.edge.anchor, "nested here"});
        }
    }

    /// One finding per file and code, with all integration points.
    PendingFinding& nestedRootFinding(const PrefabInstance::Point& point, FindingCode code, Anchor anchor) {
        PendingFinding& finding = m_nestedRoots[{point.edge.to, code}];
        finding.code = code;
        finding.severity = Severity::WARNING;
        finding.file = point.edge.to;
        finding.object = point.nested->facts->root;
        finding.anchor = std::move(anchor);
        return finding;
    }

    // Parents and links.

    void checkParents(const PrefabInstance& instance) {
        const std::vector<ObjectFacts>& objects = instance.facts->objects;
        bool isFound = false;
        for (std::uint32_t i = 0; i < objects.size(); ++i) {
            if (!objects[i].hasHierarchy) {
                continue;
            }
            const bool hasParent = objects[i].parent != Uuid::ZERO;
            if (i != 0 && isFound && objects[i].parent == objects[i - 1].parent && objects[i - 1].hasHierarchy) {
                continue; // Neighbours often have the same parent.
            }
            isFound = m_targets.exists(instance, objects[i].parent);
            if (isFound) { // An object may have the zero UUID.
                continue;
            }
            PendingFinding& finding = add(instance, FindingCode::PARENT_NOT_FOUND, Severity::WARNING,
                                          Anchor::valueAt(objects[i].parentOffset), i);
            finding.subject = objects[i].uuid.toString();
            finding.message = hasParent ? "No game object has the UUID " + objects[i].parent.toString() +
                                              ", so the object has no parent."
                                        : "The hierarchy component names no parent, so the object has no parent.";
            finding.cure = "Write the UUID of a game object of this prefab.";
        }
    }

    void checkLinks(const PrefabInstance& instance) {
        for (const LinkFacts& link : instance.facts->links) {
            const PrefabInstance::Point* const point = instance.findPoint(link.object);
            // The components of an integration point belong to the nested instance.
            const bool isFound = point ? !point->nested || m_targets.exists(*point->nested, link.target)
                                       : m_targets.exists(instance, link.target);
            if (isFound) {
                continue;
            }
            const bool isOutside = point && m_targets.exists(instance, link.target);
            PendingFinding& finding =
                add(instance, isOutside ? FindingCode::LINK_OUT_OF_REACH : FindingCode::LINK_TO_NOTHING,
                    Severity::WARNING, Anchor::valueAt(link.offset), link.object);
            finding.subject = link.property;
            if (isOutside) {
                finding.message = "'" + link.property + "' links to " + link.target.toString() +
                                  ", but the links of an integration point lead to objects of the nested prefab only.";
                finding.cure = "Put the component on another game object of this prefab.";
            } else {
                finding.message = "'" + link.property + "' links to " + link.target.toString() +
                                  ", but no game object has this UUID.";
                finding.cure = "Write the UUID of a game object, or remove the link.";
            }
        }
    }

    /// The parents that overrides give to objects, by the UUIDs of the objects.
    [[nodiscard]] static std::map<Uuid, Uuid> overriddenParents(const PrefabInstance& instance) {
        static const std::string type =
            ComponentLibrary::instance().componentName(NativeComponent<Tessel::HierarchyComponent>::getType());
        std::map<Uuid, Uuid> parents;
        for (const OverrideLayer* const layer : instance.layers) {
            for (const OverriddenObject& object : layer->document.objects) {
                for (const OverriddenComponent& component : object.components) {
                    const DataNode parent = component.type == type ? component.properties.child("parent") : DataNode();
                    const std::optional<Uuid> uuid = Uuid::fromString(trimWhiteSpace(parent.text()));
                    if (object.uuid && uuid) {
                        parents[*object.uuid] = *uuid;
                    }
                }
            }
        }
        return parents;
    }

    /// Cycles of parents within the file or through nested prefabs, with the parents that overrides give to objects.
    void checkParentCycles(const PrefabInstance& instance, const std::map<Uuid, Uuid>& overridden) {
        const std::vector<ObjectFacts>& objects = instance.facts->objects;
        std::vector<std::uint32_t> parents(objects.size(), FileFacts::NONE);
        for (std::uint32_t i = 0; i < objects.size(); ++i) {
            if (!objects[i].hasHierarchy) {
                continue;
            }
            if (i != 0 && overridden.empty() && objects[i].parent == objects[i - 1].parent &&
                objects[i - 1].hasHierarchy) {
                parents[i] = parents[i - 1]; // Neighbours often have the same parent.
                continue;
            }
            const auto found = objects[i].isPoint() ? overridden.end() : overridden.find(objects[i].uuid);
            const Uuid& parent = found == overridden.end() ? objects[i].parent : found->second;
            const LinkTargets::Owner owner = m_targets.owner(instance, parent);
            if (!owner.isNested || isBelowNestedRoot(instance, owner.object, parent, 1)) {
                parents[i] = owner.object;
            }
        }
        std::vector<unsigned char> states(objects.size(), 0); // 1 on the current path, 2 done.
        for (std::uint32_t start = 0; start < objects.size(); ++start) {
            std::vector<std::uint32_t> path;
            std::uint32_t object = start;
            for (; object != FileFacts::NONE && states[object] == 0; object = parents[object]) {
                states[object] = 1;
                path.push_back(object);
            }
            if (object != FileFacts::NONE && states[object] == 1) {
                addParentCycle(instance, {std::find(path.begin(), path.end(), object), path.end()});
            }
            for (const std::uint32_t visited : path) {
                states[visited] = 2;
            }
        }
    }

    /// Whether the parents of an object of a nested prefab lead to the root of that prefab, which stands at an
    /// integration point of the instance.
    [[nodiscard]] bool isBelowNestedRoot(const PrefabInstance& instance, std::uint32_t point, const Uuid& uuid,
                                         int depth) {
        const PrefabInstance::Point* const nesting = instance.findPoint(point);
        if (!nesting || !nesting->nested || depth > Tessel::GameObjectPrefab::MAX_NESTING_DEPTH) {
            return false;
        }
        const PrefabInstance& nested = *nesting->nested;
        const std::vector<ObjectFacts>& objects = nested.facts->objects;
        Uuid current = UuidDivider(instance.facts->objects[point].uuid)(uuid);
        for (std::size_t steps = 0; steps <= objects.size(); ++steps) { // A cycle within the prefab ends nowhere.
            const LinkTargets::Owner owner = m_targets.owner(nested, current);
            if (owner.object == FileFacts::NONE ||
                (owner.isNested && !isBelowNestedRoot(nested, owner.object, current, depth + 1))) {
                return false;
            }
            if (owner.object == nested.facts->root) {
                return true;
            }
            current = objects[owner.object].parent;
        }
        return false;
    }

    void addParentCycle(const PrefabInstance& instance, const std::vector<std::uint32_t>& cycle) {
        const std::vector<ObjectFacts>& objects = instance.facts->objects;
        const auto composed = std::find_if(cycle.begin(), cycle.end(), [&](std::uint32_t object) {
            return instance.facts->find(objects[object].parent) == FileFacts::NONE;
        });
        const std::uint32_t first = composed == cycle.end() ? cycle.front() : *composed;
        PendingFinding& finding = add(instance, FindingCode::PARENT_CYCLE, Severity::ERROR,
                                      Anchor::valueAt(objects[first].parentOffset), first);
        if (composed != cycle.end()) {
            finding.message = "The parent is an object of a nested prefab, and the integration point of that prefab is "
                              "below this object.";
        } else if (cycle.size() == 1) {
            finding.message = "The game object is its own parent.";
        } else {
            finding.message = formatText("%zu game objects are each other's parents.", cycle.size());
        }
        finding.cure = "Give one of them another parent.";
        for (const std::uint32_t object : cycle) {
            if (object != first) {
                finding.related.push_back(
                    {instance.path, Anchor::valueAt(objects[object].parentOffset), "a parent of the cycle"});
            }
        }
    }

    using DuplicateKey = std::pair<const FileFacts*, Uuid>;

    std::vector<PendingFinding>& m_findings;
    LinkTargets m_targets;
    std::size_t m_derivedUuidsLeft = MAX_DERIVED_UUIDS;
    std::size_t m_deepStepsLeft = 0;
    std::set<const FileFacts*> m_checkedFiles;
    std::set<std::pair<const FileFacts*, std::vector<const PrefabInstance*>>> m_checkedNesting;
    std::set<std::pair<const FileFacts*, bool>> m_duplicatesChecked;
    std::set<std::tuple<const FileFacts*, std::uint32_t, const FileFacts*>> m_checkedPoints;
    std::map<DuplicateKey, std::size_t> m_duplicates; ///< Indices of the findings.
    std::map<std::pair<std::string, FindingCode>, PendingFinding> m_nestedRoots;
};

} // namespace

void checkNesting(const PrefabInstances& instances, std::vector<PendingFinding>& findings) {
    NestingCheck check(findings);
    for (const std::unique_ptr<PrefabInstance>& instance : instances.all()) {
        check.checkInstance(*instance);
    }
    check.addNestedRoots();
}

} // namespace Kiln::PrefabInspection
