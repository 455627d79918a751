#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Kiln::Tessel::detail {

/// Makes sure that the next push_back does not allocate, so that it can follow a step that cannot be undone. The
/// capacity grows as with push_back.
template <class Element>
void makeRoomForOne(std::vector<Element>& elements) {
    constexpr std::size_t FIRST_CAPACITY = 8;
    if (elements.size() == elements.capacity()) {
        elements.reserve(std::max(FIRST_CAPACITY, elements.size() * 2));
    }
}

} // namespace Kiln::Tessel::detail
