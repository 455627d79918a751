#include <prefab_inspection/checking/file_facts.h>

#include <algorithm>

namespace Kiln::PrefabInspection {

std::vector<std::uint32_t>::const_iterator FileFacts::lowerBound(const Uuid& uuid) const {
    return std::lower_bound(byUuid.begin(), byUuid.end(), uuid,
                            [this](std::uint32_t index, const Uuid& wanted) { return objects[index].uuid < wanted; });
}

std::uint32_t FileFacts::find(const Uuid& uuid) const {
    const auto found = lowerBound(uuid);
    return found != byUuid.end() && objects[*found].uuid == uuid ? *found : NONE;
}

std::span<const std::uint32_t> FileFacts::findAll(const Uuid& uuid) const {
    const auto first = lowerBound(uuid);
    auto last = first;
    while (last != byUuid.end() && objects[*last].uuid == uuid) {
        ++last;
    }
    return {first, last};
}

std::uint32_t FileFacts::findLinked(const Uuid& uuid, bool isNested) const {
    std::uint32_t firstPoint = NONE;
    for (const std::uint32_t index : findAll(uuid)) {
        const ObjectFacts& object = objects[index];
        if (object.isPoint()) {
            firstPoint = std::min(firstPoint, index);
        } else if (!isNested || !object.isRoot() || index == root) {
            return index;
        }
    }
    return firstPoint;
}

bool FileFacts::hasComponent(std::uint32_t object, Tessel::ComponentTypeId type) const {
    return std::binary_search(components.begin(), components.end(), std::pair(object, type));
}

const NestingFacts* FileFacts::point(std::uint32_t object) const {
    const auto found =
        std::lower_bound(nestings.begin(), nestings.end(), object,
                         [](const NestingFacts& nesting, std::uint32_t wanted) { return nesting.object < wanted; });
    const bool isFound = found != nestings.end() && found->object == object && objects[object].isPoint();
    return isFound ? &*found : nullptr;
}

} // namespace Kiln::PrefabInspection
