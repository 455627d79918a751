#include <prefab_inspection/checking/prefab_instances.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

/// Sums that do not wrap around.
[[nodiscard]] std::uint64_t plus(std::uint64_t a, std::uint64_t b) {
    return a > std::numeric_limits<std::uint64_t>::max() - b ? std::numeric_limits<std::uint64_t>::max() : a + b;
}

} // namespace

const PrefabInstance::Point* PrefabInstance::findPoint(std::uint32_t object) const {
    const auto found = std::lower_bound(points.begin(), points.end(), object,
                                        [](const Point& point, std::uint32_t wanted) { return point.object < wanted; });
    return found != points.end() && found->object == object ? &*found : nullptr;
}

const PrefabInstance& PrefabInstances::add(const std::string& path) {
    PrefabInstance* const top = get(path, {}, nullptr, PendingFinding::NO_OBJECT);
    if (top->state == PrefabInstance::State::NEW) {
        visit(*top);
    }
    return *top;
}

PrefabInstance* PrefabInstances::get(const std::string& path, std::vector<const OverrideLayer*> layers,
                                     const PrefabInstance* outer, std::uint32_t outerObject) {
    // Without overrides it does not matter where the prefab is nested, only that it is.
    static const FileFacts anyOuter;
    const FileFacts* const outerFacts = outer ? outer->facts : nullptr;
    const FileFacts* const keyOuter = outer && layers.empty() ? &anyOuter : outerFacts;
    const bool isFirst = outer && !layers.empty() && outer->isTop() && outerObject == 0;
    PrefabInstance*& instance = m_byKey[{path, layers, keyOuter, layers.empty() ? 0 : outerObject, isFirst}];
    if (!instance) {
        auto added = std::make_unique<PrefabInstance>();
        added->path = path;
        added->facts = &m_files.at(path);
        added->layers = std::move(layers);
        added->outer = outerFacts;
        added->isFirst = isFirst;
        added->outerObject = outerObject;
        instance = added.get();
        m_all.push_back(std::move(added));
    }
    return instance;
}

/// Goes down without recursion, because prefabs can be nested deeper than the stack allows.
void PrefabInstances::visit(PrefabInstance& top) {
    std::vector<Frame> frames{{&top}};
    enter(top);
    while (!frames.empty()) {
        PrefabInstance& instance = *frames.back().instance;
        if (frames.back().nextPoint == instance.points.size()) {
            complete(instance);
            frames.pop_back();
            continue;
        }
        PrefabInstance* const nested = instance.points[frames.back().nextPoint++].nested;
        if (nested && nested->state == PrefabInstance::State::ACTIVE) {
            instance.isEndless = true;
            addCycle(frames, nested);
        } else if (nested && nested->state == PrefabInstance::State::NEW) {
            enter(*nested);
            frames.push_back({nested});
        }
    }
}

void PrefabInstances::enter(PrefabInstance& instance) {
    instance.state = PrefabInstance::State::ACTIVE;
    for (const NestingFacts& nesting : instance.facts->nestings) {
        if (instance.facts->objects[nesting.object].isPoint()) {
            enterPoint(instance, nesting);
        }
    }
}

/// Finds out which prefab the integration point nests, with which overrides.
void PrefabInstances::enterPoint(PrefabInstance& instance, const NestingFacts& nesting) {
    const PointOverrides overrides =
        m_layers.overridesOf(instance.layers, instance.facts->objects[nesting.object].uuid);
    std::vector<const OverrideLayer*> layers;
    if (const OverrideLayer* const own =
            m_layers.ownLayer(instance.path, nesting, instance.facts->objects[nesting.object].uuid)) {
        layers.push_back(own);
    }
    if (overrides.overridesLayer) {
        layers.push_back(overrides.overridesLayer);
    }
    m_usedLayers.insert(m_usedLayers.end(), layers.begin(), layers.end());

    PrefabInstance::Point& point = instance.points.emplace_back();
    point.object = nesting.object;
    if (overrides.resource) {
        point.edge = {overrides.resourceLayer->file,
                      Anchor::value(overrides.resource).in(overrides.resourceLayer->embedding),
                      overrides.resource.text(), overrides.resourceLayer->object};
    } else {
        point.edge = {instance.path, Anchor::valueAt(nesting.resourceOffset), nesting.resource, nesting.object};
    }
    const auto nested = m_files.find(point.edge.to);
    if (nested != m_files.end() && nested->second.state == FileFacts::State::LOADED &&
        nested->second.root != FileFacts::NONE) {
        point.nested = get(point.edge.to, std::move(layers), &instance, nesting.object);
    }
}

void PrefabInstances::complete(PrefabInstance& instance) {
    instance.state = PrefabInstance::State::DONE;
    for (const PrefabInstance::Point& point : instance.points) {
        if (!point.nested) {
            continue;
        }
        instance.isEndless = instance.isEndless || point.nested->isEndless;
        instance.height = std::max(instance.height, point.nested->height + 1);
        instance.objectsCount = plus(instance.objectsCount, plus(point.nested->objectsCount, 1));
        instance.overrideBytes = plus(instance.overrideBytes, point.nested->overrideBytes);
    }
    for (const ObjectFacts& object : instance.facts->objects) {
        instance.objectsCount += object.isRoot() || object.isPoint() ? 0 : 1;
    }
    for (const NestingFacts& nesting : instance.facts->nestings) {
        const bool isOfRoot = instance.facts->objects[nesting.object].isRoot();
        instance.overrideBytes = plus(instance.overrideBytes, isOfRoot ? 0 : nesting.overrides.size());
    }
}

void PrefabInstances::addCycle(const std::vector<Frame>& frames, const PrefabInstance* first) {
    const auto begin =
        std::find_if(frames.begin(), frames.end(), [first](const Frame& frame) { return frame.instance == first; });
    std::vector<CycleStep> cycle;
    for (auto frame = begin; frame != frames.end(); ++frame) {
        cycle.push_back({frame->instance->path, frame->instance->points[frame->nextPoint - 1].edge});
    }
    m_cycles.push_back(std::move(cycle));
}

} // namespace Kiln::PrefabInspection
