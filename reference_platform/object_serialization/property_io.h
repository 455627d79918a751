#pragma once

#include <object_serialization/deseriralize_error_handler.h>
#include <object_serialization/export.h>
#include <reflection/reflected_object.h>
#include <resource/data_section.h>

#include <string>

namespace Kiln {

class ComponentOverrideRecords;

/// Reads the children of `properties` into the properties of that name. A property without child keeps its value. A
/// child that the type does not know is a warning in the log; a text that does not parse leaves the value as it is and
/// is an error; both name component, property, text and place. `document` is any section of the tree. With a handler,
/// the problems go there instead of the log.
KILN_OBJECT_SERIALIZATION_EXPORT void readProperties(const DataSection& document, DataNode properties,
                                                     const mirra::ReflectedObject& object,
                                                     const std::string& componentName,
                                                     const Tessel::DeseriralizeErrorHandler* handler = nullptr);

/// Writes every property as a child of `properties`, named as the property.
KILN_OBJECT_SERIALIZATION_EXPORT void writeProperties(DataNode properties, const mirra::ReflectedObject& object);

/// Reads the overridden properties of one component, in the order in which the records were merged.
KILN_OBJECT_SERIALIZATION_EXPORT void applyOverrides(const ComponentOverrideRecords& overrides,
                                                     const mirra::ReflectedObject& object,
                                                     const std::string& componentName);

} // namespace Kiln
