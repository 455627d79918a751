#include <prefab_inspection/checking/link_targets.h>

#include <common/uuid_division.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <algorithm>

namespace Kiln::PrefabInspection {

namespace {

constexpr std::size_t MAX_STEPS_OF_SEARCH = 10'000;

} // namespace

bool LinkTargets::isGenerated(const Uuid& uuid) noexcept {
    return (uuid.high() >> 12 & 0xF) == 4 && uuid.low() >> 62 == 2;
}

bool LinkTargets::exists(const PrefabInstance& instance, const Uuid& uuid) {
    return owner(instance, uuid).object != FileFacts::NONE;
}

LinkTargets::Owner LinkTargets::owner(const PrefabInstance& instance, const Uuid& uuid) {
    const std::uint32_t own = instance.facts->findLinked(uuid, !instance.isTop());
    // An integration point comes after an object of a nested prefab that gets the same UUID. Objects of nested prefabs
    // have UUIDs that look random, but rarely as if they were generated.
    if (own != FileFacts::NONE && (!instance.facts->objects[own].isPoint() || isGenerated(uuid))) {
        return {own};
    }
    m_stepsOfSearchLeft = std::min(m_stepsLeft, MAX_STEPS_OF_SEARCH);
    for (const PrefabInstance::Point& point : instance.points) {
        if (point.nested && search(*point.nested, UuidDivider(instance.facts->objects[point.object].uuid)(uuid), 1)) {
            return {point.object, true};
        }
    }
    return {own};
}

bool LinkTargets::search(const PrefabInstance& instance, const Uuid& uuid, int depth) {
    if (m_stepsOfSearchLeft == 0) {
        return true;
    }
    --m_stepsOfSearchLeft;
    --m_stepsLeft;
    if (instance.facts->findLinked(uuid, true) != FileFacts::NONE) {
        return true;
    }
    if (depth > Tessel::GameObjectPrefab::MAX_NESTING_DEPTH) {
        return false;
    }
    return std::any_of(instance.points.begin(), instance.points.end(), [&](const PrefabInstance::Point& point) {
        return point.nested &&
               search(*point.nested, UuidDivider(instance.facts->objects[point.object].uuid)(uuid), depth + 1);
    });
}

} // namespace Kiln::PrefabInspection
