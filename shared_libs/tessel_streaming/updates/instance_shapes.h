#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_serialization/game_object_descriptor.h>
#include <tessel_streaming/instances/followed_instance.h>

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// The descriptors of the items of instances that were created alike. If only values change, an update changes the
/// descriptors here, once for all of these instances, and touches nothing else of them but the changed objects.
struct InstanceShape : NonCopyable {
    /// By item; null for the root of a nested prefab, which has a descriptor of its own in each instance. The latter is
    /// in no document, so such updates do not concern it.
    std::vector<SmartPointer<GameObjectDescriptor>> descriptors;
};

/// An instance as updates share it: it may be dropped while an update is working on it.
struct Followed : FollowedInstance {
    explicit Followed(FollowedInstance&& instance);

    /// Copies the descriptors of the shape into the items, which are not shared any more.
    void leaveShape();

    bool isDropped = false;

    /// Its objects may differ from the documents: an update lists them all, whatever has changed.
    bool isOutdated = false;

    /// As isOutdated, and the next update is to begin because of this.
    bool isWaiting = false;

    bool hasOverrides = false; ///< An item has some.

    /// Has the descriptors instead of the items, which may be older. Null for large and outdated instances.
    std::shared_ptr<InstanceShape> shape;
};

/// Finds the instances that were created alike. Main thread.
class InstanceShapes : NonCopyable {
public:
    /// Instances with more items have no shape, as it takes longer to compare them than to update them.
    static constexpr std::size_t MAX_ITEMS = 1024;

    /// Sets the shape of an instance whose items are current.
    void assign(Followed& instance);

private:
    static constexpr std::size_t MAX_SHAPES = 8; ///< Per path.

    std::unordered_map<std::string, std::deque<std::weak_ptr<InstanceShape>>> m_shapes; ///< By path, the newest last.
};

} // namespace Kiln::Tessel::Streaming::detail
