#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <core/non_copyable.h>
#include <reflection/export.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <typeindex>
#include <vector>

namespace mirra {

class BaseStaticMetaObject;

/// How a reflected value is stored and shown.
enum class ValueKind {
    SCALAR,    ///< One text: bool, integers, floats, string, Uuid, Matrix.
    LINK,      ///< One text, a UUID that names another game object.
    VECTOR,    ///< A sequence of values of one type.
    STRUCTURE, ///< A type with a static meta object of its own.
};

/// The operations on values of one C++ type that reading, writing, overriding and comparing need. One immutable object
/// per type and library, found with valueType<T>(); compare types with type(), not by address. Any thread.
class KILN_REFLECTION_EXPORT ValueType : Kiln::NonCopyable {
public:
    virtual ~ValueType();

    /// How the values are stored and shown.
    [[nodiscard]] ValueKind kind() const noexcept { return m_kind; }
    /// The C++ type of the values.
    [[nodiscard]] std::type_index type() const noexcept { return m_type; }

    /// Name for messages and tools, for instance "uint32" or "vector of string".
    [[nodiscard]] const std::string& name() const noexcept { return m_name; }

    /// Whether white space belongs to the text (strings) or must be trimmed before parse().
    [[nodiscard]] virtual bool isWhiteSpaceKept() const noexcept { return false; }

    /// SCALAR and LINK: sets the value from its text. False, with the value unchanged, when the text does not parse.
    virtual bool parse(std::string_view text, void* value) const;

    /// @{
    /// SCALAR and LINK: as parse() of the text that is written for the argument, only faster. False, with the value
    /// unchanged, if the type has no such shortcut for the argument; parse() may still succeed.
    virtual bool setInteger(std::uint32_t number, void* value) const;
    virtual bool setFloat(float number, void* value) const;
    virtual bool setUuid(const Kiln::Uuid& uuid, void* value) const;
    virtual bool setMatrix(const Kiln::Matrix& matrix, void* value) const;
    /// @}

    /// SCALAR and LINK: appends the value's text.
    virtual void format(const void* value, std::string& text) const;

    /// @{
    /// VECTOR: the elements. The others have none.
    [[nodiscard]] virtual const ValueType* elementType() const noexcept { return nullptr; }
    [[nodiscard]] virtual std::size_t elementsCount(const void* value) const;
    [[nodiscard]] virtual void* elementAt(void* value, std::size_t index) const;
    virtual void clearElements(void* value) const;
    /// @}
    /// Appends a default element and returns it; invalidates pointers to the others.
    virtual void* appendElement(void* value) const;

    /// STRUCTURE: its meta object, null while it is not registered. The others have none.
    [[nodiscard]] virtual const BaseStaticMetaObject* metaObject() const { return nullptr; }

    /// Whether a value of this type is, or holds at any depth, a link.
    [[nodiscard]] virtual bool containsLinks() const { return m_kind == ValueKind::LINK; }

    /// Whether two values of this type are equal.
    [[nodiscard]] virtual bool isEqual(const void* a, const void* b) const = 0;

protected:
    /// For derived classes; `name` is for messages and tools.
    ValueType(ValueKind kind, std::type_index type, std::string name);

private:
    ValueKind m_kind;
    std::type_index m_type;
    std::string m_name;
};

/// Names the ValueType of a C++ type: specialised for scalars (scalar_value_types.h), vectors (vector_value_type.h) and
/// links; every other class is a structure (structure_value_type.h). A specialisation has
/// `static const ValueType& get()`. meta_object.h includes all of them but the links.
template <class T>
struct ValueTypeOf;

/// The operations on values of type T.
template <class T>
[[nodiscard]] const ValueType& valueType() {
    return ValueTypeOf<T>::get();
}

} // namespace mirra
