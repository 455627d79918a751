#pragma once

#include <reflection/export.h>
#include <reflection/meta_object.h>
#include <variant/variant.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace mirra {

/// Base of classes that describe themselves through reflection.
class Object {
protected:
    ~Object() = default;
};

/// A property together with the object that it is read from and written to. Refers to both; owns nothing.
class KILN_REFLECTION_EXPORT BoundProperty {
public:
    /// Refers to everything that it is given; `annotations` may be null.
    BoundProperty(std::string_view name, const ValueType& type, void* value, const Annotations* annotations = nullptr)
        : m_name(name), m_type(&type), m_value(value), m_annotations(annotations) {}

    /// Empty for an element of a vector.
    [[nodiscard]] std::string_view name() const noexcept { return m_name; }
    /// The operations on the value.
    [[nodiscard]] const ValueType& type() const noexcept { return *m_type; }
    /// Address of the value.
    [[nodiscard]] void* value() const noexcept { return m_value; }
    /// Whether the property has that mark; false when it has no annotations.
    [[nodiscard]] bool hasAnnotation(Annotation annotation) const {
        return m_annotations && m_annotations->has(annotation);
    }

    /// A variant that refers to the value.
    [[nodiscard]] vessa::Variant get() const { return vessa::Variant::refer(m_type->type(), m_value); }

private:
    std::string_view m_name;
    const ValueType* m_type;
    void* m_value;
    const Annotations* m_annotations;
};

/// Access to an object through the description of its type. A vector can be accessed this way too: its elements are the
/// properties. Refers to the object; it owns the object only when it was made from a variant that does.
class KILN_REFLECTION_EXPORT ReflectedObject {
public:
    /// An invalid object.
    ReflectedObject() = default;

    /// The object that a variant holds or refers to; not valid when its type has no description.
    explicit ReflectedObject(const vessa::Variant& object);

    /// The structure or vector that is a property's value; not valid for other properties.
    explicit ReflectedObject(const BoundProperty& property);

    /// Views `object` (which must outlive this) through the description.
    void init(const BaseStaticMetaObject& metaObject, void* object);

    /// Whether there is an object or a vector to access.
    [[nodiscard]] bool isValid() const noexcept { return m_metaObject || m_vectorType; }

    /// Number of properties; 0 when not valid.
    [[nodiscard]] std::size_t properties() const noexcept;

    /// `index` must be less than properties().
    [[nodiscard]] BoundProperty propertyAt(std::size_t index) const;

    /// The description; null when not valid or a vector.
    [[nodiscard]] const BaseStaticMetaObject* metaObject() const noexcept { return m_metaObject; }
    /// Address of the object or vector; null when not valid.
    [[nodiscard]] void* object() const noexcept { return m_object; }

private:
    const BaseStaticMetaObject* m_metaObject = nullptr;
    const ValueType* m_vectorType = nullptr;
    void* m_object = nullptr;
    vessa::Variant m_owner; ///< Keeps an owned object alive.
};

/// Whether two objects of one type have equal values in every property.
[[nodiscard]] KILN_REFLECTION_EXPORT bool arePropertiesEqual(const BaseStaticMetaObject& metaObject, const void* a,
                                                             const void* b);

} // namespace mirra
