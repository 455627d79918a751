#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_serialization/component_descriptor.h>
#include <reflection/meta_object.h>
#include <reflection/reflected_object.h>
#include <resource/data_node.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Kiln::PrefabComparison {

/// Compares the values of properties, by the rules of the loader if the component type is registered: the spelling of
/// numbers and UUIDs and the order of a structure's members do not count, and white space counts in strings only. A
/// text that the loader cannot read equals only the same text.
///
/// Of a type that is not registered, and of properties that a registered type does not have, nothing is known. Their
/// values are the same if the names, the order and the texts of all elements are: two spellings of a number differ.
/// Loading the component library makes them equal. White space is ignored around the text of an element that has child
/// elements, and in one that contains nothing else.
///
/// Owner: the caller. One thread. Elements may be null, which means that the property is absent; an absent property
/// differs from one that has its default value.
class ValueComparison : NonCopyable {
public:
    ValueComparison();
    ~ValueComparison();

    /// Whether two elements `name` have the same value as a property of the component type, an id of ComponentLibrary
    /// or ComponentLibrary::INVALID_ID.
    [[nodiscard]] bool isSameValue(std::size_t typeId, std::string_view name, DataNode a, DataNode b);

    /// A part of a value that differs.
    struct Difference {
        std::string path; ///< From the property on, such as "moorings[0].line".
        DataNode a;       ///< Null if only `b` has it.
        DataNode b;
    };

    /// The smallest parts in which the values of two elements differ: members of structures, and elements of vectors by
    /// their index. Empty if and only if isSameValue().
    [[nodiscard]] std::vector<Difference> differences(std::size_t typeId, std::string_view name, DataNode a,
                                                      DataNode b);

    /// Whether two texts of scalars have the same value as parts of a component, at the same path. `path` leads from
    /// the property on; indices are left out, such as in "moorings.value.line".
    [[nodiscard]] bool isSameText(std::size_t typeId, const std::vector<std::string>& path, const std::string& a,
                                  const std::string& b);

    /// Compares as for a type that is not registered.
    [[nodiscard]] static bool isSameContent(DataNode a, DataNode b);

private:
    /// Two configurations of a component type, into which the values are read.
    struct Scratch {
        SmartPointer<IComponentDescriptor> descriptorA;
        SmartPointer<IComponentDescriptor> descriptorB;
        mirra::ReflectedObject a;
        mirra::ReflectedObject b;
    };

    [[nodiscard]] const Scratch& scratchOf(std::size_t typeId);
    void collect(Difference difference, const mirra::ValueType* type, void* scratchA, void* scratchB,
                 std::vector<Difference>& found);
    void collectElements(const Difference& whole, const mirra::ValueType* type, void* scratchA, void* scratchB,
                         std::vector<Difference>& found);
    void collectMembers(const Difference& whole, const mirra::ValueType* type, void* scratchA, void* scratchB,
                        std::vector<Difference>& found);
    [[nodiscard]] bool isSame(DataNode a, DataNode b, const mirra::ValueType& type, void* scratchA, void* scratchB);
    [[nodiscard]] bool isSameScalar(DataNode a, DataNode b, const mirra::ValueType& type, void* scratchA,
                                    void* scratchB);
    [[nodiscard]] bool isSameVector(DataNode a, DataNode b, const mirra::ValueType& type, void* scratchA,
                                    void* scratchB);
    [[nodiscard]] bool isSameStructure(DataNode a, DataNode b, const mirra::BaseStaticMetaObject& meta, void* scratchA,
                                       void* scratchB);

    std::unordered_map<std::size_t, Scratch> m_scratches; ///< By type id.
    std::string m_textA;
    std::string m_textB;
};

} // namespace Kiln::PrefabComparison
