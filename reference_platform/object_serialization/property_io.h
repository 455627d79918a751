#pragma once

#include <object_serialization/deseriralize_error_handler.h>
#include <object_serialization/export.h>
#include <reflection/reflected_object.h>
#include <resource/data_section.h>

#include <string>

namespace Kiln {

class ComponentOverrideRecords;

/// Reads the children of `properties` into the properties of the same names. A property without a child keeps its
/// value. A child that the type does not know is reported as a warning; a text that can't be parsed leaves the value
/// unchanged and is reported as an error. Both messages name the component, the property, the text and the line. They
/// go to the handler when there is one, otherwise to the log. `document` is any section of the document.
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
