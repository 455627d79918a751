#pragma once

#include <object_serialization/override_records.h>
#include <tessel_asset_loading/game_object_prefab.h>

namespace Kiln::Tessel::Streaming::detail {

/// The overrides of an item's object, as its creation finds them: in override data that does not know the root's UUID,
/// the zero UUID stands for the root, which is the first item. Null for none.
[[nodiscard]] const GameObjectOverrideRecords* findOverrides(const GameObjectPrefab::GameObjectCreationItem& item,
                                                             bool isFirstItem);

/// Whether two records set the same texts in the same order. Both may be null. Main thread.
[[nodiscard]] bool areEqual(const ComponentOverrideRecords* a, const ComponentOverrideRecords* b);

} // namespace Kiln::Tessel::Streaming::detail
