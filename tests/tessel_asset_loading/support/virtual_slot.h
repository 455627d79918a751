#pragma once

#include <cstddef>
#include <cstring>

namespace Kiln::TestSupport {

/// Index of a virtual operation in its class's table, from 0; a virtual destructor takes two entries. By the Itanium
/// C++ ABI, a pointer to a virtual member function holds the offset into the table, plus one on targets that do not
/// mark virtual functions in its second word.
template <class Operation>
[[nodiscard]] std::size_t virtualSlot(Operation operation) {
    std::ptrdiff_t words[2];
    static_assert(sizeof(operation) == sizeof(words));
    std::memcpy(words, &operation, sizeof(words));
    const std::ptrdiff_t offset = words[1] % 2 != 0 ? words[0] : words[0] - 1;
    return static_cast<std::size_t>(offset) / sizeof(void*);
}

} // namespace Kiln::TestSupport
