#pragma once

#include <common/uuid.h>
#include <object_framework/game_object.h>
#include <object_serialization/component_descriptor.h>
#include <object_serialization/object_creation.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/game_object_prefab/nested_root_index.h>

#include <span>

namespace Kiln::Tessel::Streaming::detail {

/// Whether an item stands for the root of a nested prefab: the only items whose parent is given as a live UUID.
[[nodiscard]] bool isNestedRoot(const GameObjectPrefab::GameObjectCreationItem& item);

/// The objects that the links of an instance refer to. Main thread.
class InstanceLinks {
public:
    /// The object of one item after the other. False if another object has that UUID.
    [[nodiscard]] bool add(const GameObjectPrefab::GameObjectCreationItem& item, const Uuid& uuid, GameObject object);

    /// The object of a link in a component of that prefab instance; the invalid object if there is none.
    [[nodiscard]] GameObject find(const ILinkConfig& link, const Uuid& instanceUuid);

    [[nodiscard]] const UuidMap& objects() const noexcept { return m_objects; }
    [[nodiscard]] INestedRoots& nestedRoots() noexcept { return m_nestedRoots; }

private:
    UuidMap m_objects{8};
    Tessel::detail::NestedRootIndex m_nestedRoots;
};

/// Whether a link of the component, with these overrides (null for none), refers to different objects in two states of
/// its instance. A component without links costs one call.
[[nodiscard]] bool hasOtherTargets(IComponentDescriptor& component, const ComponentOverrideRecords* overrides,
                                   const Uuid& instanceUuid, InstanceLinks& older, InstanceLinks& newer);

} // namespace Kiln::Tessel::Streaming::detail
