#pragma once

#include <resource/data_node.h>

#include <cstddef>
#include <functional>

namespace Kiln::PrefabTool {

/// What is known of a value that might be a link to a game object.
enum class LinkKind {
    LINK,
    OTHER,  ///< The description of the component says that it is something else.
    UNKNOWN ///< The component or the property is not described.
};

/// Calls `onValue` for each element below `properties` that has a text of its own and no elements: values of
/// properties, members of structures and elements of vectors. `typeId` is the component's in the ComponentLibrary,
/// INVALID_ID for an unknown type.
void forEachLinkValue(DataNode properties, std::size_t typeId,
                      const std::function<void(DataNode value, LinkKind kind)>& onValue);

} // namespace Kiln::PrefabTool
