#pragma once

#include <core/api.h>
#include <variant/variant.h>

namespace vessa {

class MINIMAL_API VariantConverter {
public:
    using Conversion = void* (*)(void* value);

    /// From a type to one of its bases.
    static void registerConversion(std::type_index from, std::type_index to, Conversion conversion);

    /// The value as a T, or null. Any thread.
    template <class T>
    [[nodiscard]] static T* convertTo(const Variant& variant) {
        return static_cast<T*>(variant.type == typeid(T) ? variant.value : convert(variant, typeid(T)));
    }

private:
    [[nodiscard]] static void* convert(const Variant& variant, std::type_index to);
};

} // namespace vessa
