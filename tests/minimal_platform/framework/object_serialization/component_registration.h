#pragma once

#include <object_serialization/component_library.h>
#include <object_serialization/prefab_format.h>
#include <object_serialization/typed_component_descriptor.h>
#include <reflection/meta_object.h>

#include <string>

namespace Kiln {

template <class T>
[[nodiscard]] ComponentRecord makeComponentRecord(const std::string& name) {
    ComponentRecord record;
    record.typeId = Tessel::NativeComponent<T>::getType();
    record.type = typeid(T);
    record.displayName = record.name = name;
    record.category = IComponentDescriptor::DEFAULT_CATEGORY;
    record.version = Tessel::PrefabFormat::DEFAULT_COMPONENT_VERSION;
    record.factory = [name] { return SmartPointer<IComponentDescriptor>(makeSmart<ComponentDescriptor<T>>(name)); };
    return record;
}

} // namespace Kiln
