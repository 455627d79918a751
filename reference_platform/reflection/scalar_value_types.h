#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <reflection/export.h>
#include <reflection/value_type.h>

#include <cstdint>
#include <string>

/// The value types that are written as one text. Each has one object in the process, which is never destroyed.
///
/// Texts: "true" and "false" ("1" and "0" are read too); integers in decimal, within the range of the type, with no
/// plus sign; floats in the shortest form that reads back to the same value, "inf", "-inf" and "nan"; strings
/// unchanged; Uuid and Matrix by their own toString() and fromString(). The whole text must be the value. Floats are
/// equal when their texts are: every NaN equals every other, and 0 differs from -0.
namespace mirra {

template <>
struct ValueTypeOf<bool> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<std::int8_t> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<std::int16_t> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<std::int32_t> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<std::int64_t> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<std::uint8_t> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<std::uint16_t> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<std::uint32_t> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<std::uint64_t> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<float> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<double> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<std::string> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<Kiln::Uuid> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

template <>
struct ValueTypeOf<Kiln::Matrix> {
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

} // namespace mirra
