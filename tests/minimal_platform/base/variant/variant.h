#pragma once

#include <typeindex>

namespace vessa {

/// Refers to a value of any type that is owned elsewhere.
struct Variant {
    std::type_index type = typeid(void);
    void* value = nullptr;
};

} // namespace vessa
