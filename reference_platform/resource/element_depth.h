#pragma once

#include <resource/data_node.h>

#include <cstddef>

namespace Kiln {

/// The first element, in document order, that has `limit` elements above it; null if there is none. `root` is the root
/// element of a parsed document, `size` the size of its text in bytes.
///
/// Each level of nesting takes some bytes, so an element whose text is too short to reach the limit is passed over
/// together with everything in it. Takes linear time, and little for documents of many small elements.
[[nodiscard]] DataNode findElementBelow(DataNode root, std::size_t size, std::size_t limit);

} // namespace Kiln
