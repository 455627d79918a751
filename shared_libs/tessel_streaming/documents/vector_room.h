#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// Makes room for `count` elements in all. Grows like push_back, not by the exact amount.
template <class T>
void reserveRoom(std::vector<T>& vector, std::size_t count) {
    if (count > vector.capacity()) {
        vector.reserve(std::max(count, 2 * vector.capacity()));
    }
}

} // namespace Kiln::Tessel::Streaming::detail
