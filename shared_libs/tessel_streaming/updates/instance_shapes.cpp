#include <tessel_streaming/updates/instance_shapes.h>

#include <tessel_streaming/updates/instance_links.h>

#include <algorithm>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

Followed::Followed(FollowedInstance&& instance) : FollowedInstance(std::move(instance)) {}

void Followed::leaveShape() {
    const std::shared_ptr<InstanceShape> left = std::move(shape);
    for (std::size_t i = 0; left && i < items.size(); ++i) {
        if (left->descriptors[i]) {
            items[i].descriptor = left->descriptors[i];
        }
    }
}

void InstanceShapes::assign(Followed& instance) {
    const auto& items = instance.items;
    instance.shape.reset();
    instance.hasOverrides =
        std::any_of(items.begin(), items.end(), [](const auto& item) { return static_cast<bool>(item.overrides); });
    if (items.size() > MAX_ITEMS) {
        return;
    }
    const auto matches = [](const auto& item, const SmartPointer<GameObjectDescriptor>& descriptor) {
        return descriptor ? item.descriptor == descriptor : isNestedRoot(item);
    };
    std::deque<std::weak_ptr<InstanceShape>>& known = m_shapes[instance.path];
    for (const std::weak_ptr<InstanceShape>& candidate : known) {
        std::shared_ptr<InstanceShape> shape = candidate.lock();
        if (shape &&
            std::equal(items.begin(), items.end(), shape->descriptors.begin(), shape->descriptors.end(), matches)) {
            instance.shape = std::move(shape);
            return;
        }
    }
    instance.shape = std::make_shared<InstanceShape>();
    instance.shape->descriptors.reserve(items.size());
    for (const auto& item : items) {
        instance.shape->descriptors.push_back(isNestedRoot(item) ? nullptr : item.descriptor);
    }
    known.push_back(instance.shape);
    if (known.size() > MAX_SHAPES) {
        known.pop_front();
    }
}

} // namespace Kiln::Tessel::Streaming::detail
