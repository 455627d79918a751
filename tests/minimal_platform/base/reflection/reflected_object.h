#pragma once

#include <reflection/meta_object.h>
#include <variant/variant.h>

#include <cstddef>

namespace mirra {

/// A property of one object.
class BoundProperty {
public:
    BoundProperty(const Property& property, void* value) : m_property(&property), m_value(value) {}

    [[nodiscard]] const Property& property() const { return *m_property; }
    [[nodiscard]] const ValueType& type() const { return *m_property->valueType; }
    [[nodiscard]] void* value() const { return m_value; }
    [[nodiscard]] vessa::Variant get() const { return {m_property->type, m_value}; }

private:
    const Property* m_property;
    void* m_value;
};

/// An object seen through the description of its type.
class ReflectedObject {
public:
    ReflectedObject() = default;
    ReflectedObject(std::type_index type, void* object)
        : m_metaObject(MetaObjectManager::instance().findType(type)), m_object(object) {}

    /// The structure that is a property's value; not valid for other properties.
    explicit ReflectedObject(const BoundProperty& property)
        : ReflectedObject(property.property().type, property.value()) {}

    [[nodiscard]] const MetaObject* metaObject() const { return m_metaObject; }
    [[nodiscard]] void* object() const { return m_object; }
    [[nodiscard]] bool isValid() const { return m_metaObject != nullptr; }
    [[nodiscard]] std::size_t properties() const { return m_metaObject ? m_metaObject->properties.size() : 0; }
    [[nodiscard]] BoundProperty propertyAt(std::size_t index) const {
        const Property& property = m_metaObject->properties[index];
        return {property, property.address(m_object)};
    }

private:
    const MetaObject* m_metaObject = nullptr;
    void* m_object = nullptr;
};

/// Whether the texts of all properties are equal.
[[nodiscard]] MINIMAL_API bool arePropertiesEqual(const MetaObject& metaObject, void* a, void* b);

} // namespace mirra
