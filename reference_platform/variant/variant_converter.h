#pragma once

#include <variant/export.h>
#include <variant/variant.h>

#include <typeindex>

namespace vessa {

/// Process-wide register of conversions from a held type to a type that it can be viewed as (usually a base class).
/// Any thread.
class KILN_VARIANT_EXPORT VariantConverter {
public:
    /// Yields the address of the value as the other type.
    using Conversion = void* (*)(void* value);

    /// Registers that values of type From can be viewed as To; registering twice changes nothing.
    template <class From, class To>
    static void registerBase() {
        registerConversion(typeid(From), typeid(To),
                           [](void* value) -> void* { return static_cast<To*>(static_cast<From*>(value)); });
    }

    /// As registerBase(), for a conversion that a function performs.
    static void registerConversion(std::type_index from, std::type_index to, Conversion conversion);

    /// A variant that refers to the same value as type `target`: `variant` itself if it has that type, otherwise the
    /// result of the registered conversion, otherwise an empty variant. The result must not outlive `variant`'s value.
    [[nodiscard]] static Variant convert(const Variant& variant, std::type_index target);

    /// convert() for a type known at compile time; null when there is no conversion.
    template <class T>
    [[nodiscard]] static T* convertTo(const Variant& variant) {
        if (T* value = variant.get<T>()) {
            return value;
        }
        return static_cast<T*>(convert(variant, typeid(T)).address());
    }
};

} // namespace vessa
