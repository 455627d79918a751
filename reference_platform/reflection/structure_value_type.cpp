#include <reflection/structure_value_type.h>

#include <core/type_name.h>
#include <reflection/meta_object.h>
#include <reflection/reflected_object.h>

namespace mirra {

StructureValueType::StructureValueType(std::type_index type)
    : ValueType(ValueKind::STRUCTURE, type, Kiln::typeNameInSource(type)) {}

StructureValueType::~StructureValueType() = default;

const BaseStaticMetaObject* StructureValueType::metaObject() const {
    const BaseStaticMetaObject* metaObject = m_metaObject.load(std::memory_order_acquire);
    if (!metaObject) {
        metaObject = MetaObjectManager::instance().findType(type());
        m_metaObject.store(metaObject, std::memory_order_release);
    }
    return metaObject;
}

bool StructureValueType::containsLinks() const {
    const BaseStaticMetaObject* description = metaObject();
    return description && description->containsLinks();
}

bool StructureValueType::isEqual(const void* a, const void* b) const {
    const BaseStaticMetaObject* description = metaObject();
    return !description || arePropertiesEqual(*description, a, b);
}

} // namespace mirra
