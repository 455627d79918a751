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

/// "true" and "false"; "1" and "0" are read too.
template <>
struct ValueTypeOf<bool> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// A decimal number within the range of the type.
template <>
struct ValueTypeOf<std::int8_t> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// A decimal number within the range of the type.
template <>
struct ValueTypeOf<std::int16_t> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// A decimal number within the range of the type.
template <>
struct ValueTypeOf<std::int32_t> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// A decimal number within the range of the type.
template <>
struct ValueTypeOf<std::int64_t> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// A decimal number within the range of the type.
template <>
struct ValueTypeOf<std::uint8_t> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// A decimal number within the range of the type.
template <>
struct ValueTypeOf<std::uint16_t> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// A decimal number within the range of the type.
template <>
struct ValueTypeOf<std::uint32_t> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// A decimal number within the range of the type.
template <>
struct ValueTypeOf<std::uint64_t> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// The shortest form that reads back to the same value.
template <>
struct ValueTypeOf<float> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// The shortest form that reads back to the same value.
template <>
struct ValueTypeOf<double> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// The text itself, with its white space.
template <>
struct ValueTypeOf<std::string> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// The form of Kiln::Uuid::toString().
template <>
struct ValueTypeOf<Kiln::Uuid> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

/// The form of Kiln::Matrix::toString().
template <>
struct ValueTypeOf<Kiln::Matrix> {
    /// Never destroyed.
    KILN_REFLECTION_EXPORT static const ValueType& get();
};

} // namespace mirra
