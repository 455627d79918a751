#include <reflection/reflected_object.h>

#include <algorithm>

namespace mirra {

ReflectedObject::ReflectedObject(const vessa::Variant& object)
    : m_metaObject(object.isEmpty() ? nullptr : MetaObjectManager::instance().findType(object.type())) {
    if (m_metaObject) {
        m_object = object.address();
        m_owner = object;
    }
}

ReflectedObject::ReflectedObject(const BoundProperty& property) {
    switch (property.type().kind()) {
    case ValueKind::STRUCTURE:
        m_metaObject = property.type().metaObject();
        break;
    case ValueKind::VECTOR:
        m_vectorType = &property.type();
        break;
    case ValueKind::SCALAR:
    case ValueKind::LINK:
        break;
    }
    if (isValid()) {
        m_object = property.value();
    }
}

void ReflectedObject::init(const BaseStaticMetaObject& metaObject, void* object) {
    m_metaObject = &metaObject;
    m_vectorType = nullptr;
    m_object = object;
    m_owner = {};
}

std::size_t ReflectedObject::properties() const noexcept {
    if (m_metaObject) {
        return m_metaObject->properties().size();
    }
    return m_vectorType ? m_vectorType->elementsCount(m_object) : 0;
}

BoundProperty ReflectedObject::propertyAt(std::size_t index) const {
    if (m_vectorType) {
        return {{}, *m_vectorType->elementType(), m_vectorType->elementAt(m_object, index)};
    }
    const Property& property = m_metaObject->properties()[index];
    return {property.name, *property.type, property.address(m_object), &property.annotations};
}

bool arePropertiesEqual(const BaseStaticMetaObject& metaObject, const void* a, const void* b) {
    // Property::address computes an address and changes nothing.
    void* const first = const_cast<void*>(a);
    void* const second = const_cast<void*>(b);
    return std::ranges::all_of(metaObject.properties(), [first, second](const Property& property) {
        return property.type->isEqual(property.address(first), property.address(second));
    });
}

} // namespace mirra
