#pragma once

#include "data_text.h"

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_serialization/component_descriptor.h>
#include <prefab_inspection/composition/composition.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

/// A property of a component type with its default; the text of a vector or structure is empty.
using PropertyDefaults = std::vector<std::pair<std::string, std::string>>;

/// The properties of a type; none for a type without description.
[[nodiscard]] PropertyDefaults propertyDefaults(std::size_t typeId);

/// Reads components whose values are all texts that the file of the component sets, which are nearly all of them in
/// large files, many times faster than Composition::values() does. For the components of one file; one thread.
class PlainValues : NonCopyable {
public:
    /// Appends the short form of the component (see ObjectComponents). False, with nothing appended, if a value needs
    /// the long form: it is no text, occurs twice or cannot be read.
    [[nodiscard]] bool append(const PrefabInspection::PrefabFile& file,
                              const PrefabInspection::PrefabFile::Component& component, TextTable& texts,
                              std::vector<std::int32_t>& output);

private:
    /// A configuration that values are parsed into, to find out whether they can be read.
    struct Scratch {
        SmartPointer<IComponentDescriptor> descriptor;
        mirra::ReflectedObject configuration;
        std::size_t line = 1; ///< Of the last component, since the next one of the type usually follows it.
    };

    [[nodiscard]] Scratch& scratch(std::size_t typeId);
    [[nodiscard]] bool appendValue(const PrefabInspection::PrefabFile& file, DataNode element, Scratch& scratch,
                                   TextTable& texts, std::vector<std::int32_t>& output);

    std::vector<Scratch> m_scratch; ///< By type id.
    std::vector<bool> m_isSet;      ///< The properties of the current component.
    std::size_t m_expected = 0;     ///< Index of the property that the next value probably has: files keep the order.
    std::size_t m_line = 1;         ///< Of the last value.
    std::string m_text;
};

/// The line on which an element begins; not that of its value. `near` is a line shortly before, if one is known.
[[nodiscard]] std::size_t lineOf(const PrefabInspection::PrefabFile& file, DataNode element, std::size_t near = 1);

} // namespace Kiln::PrefabTool
