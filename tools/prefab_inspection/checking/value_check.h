#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_serialization/component_descriptor.h>
#include <reflection/meta_object.h>
#include <resource/data_node.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Kiln::PrefabInspection {

/// Receives what ValueCheck finds.
class IValueSink {
public:
    virtual void onUnknownProperty(DataNode element, const mirra::BaseStaticMetaObject& type) = 0;
    virtual void onUnknownElement(DataNode element) = 0;   ///< In a vector.
    virtual void onElementInScalar(DataNode element) = 0;  ///< Inside of a value that is one text.
    virtual void onRepeatedProperty(DataNode element) = 0; ///< The later value wins.
    virtual void onUnreadableValue(DataNode element, const mirra::ValueType& type, std::string_view text) = 0;
    virtual void onTooDeepValue(DataNode element) = 0;
    virtual void onLink(DataNode element, const Uuid& target) = 0;

protected:
    ~IValueSink() = default;
};

/// One descriptor per component type, to read values into. Owned by one thread.
class ScratchDescriptors : NonCopyable {
public:
    /// Null if the type's factory makes none.
    [[nodiscard]] IComponentDescriptor* get(std::size_t typeId);

private:
    std::unordered_map<std::size_t, SmartPointer<IComponentDescriptor>> m_descriptors;
};

/// Reads the children of `properties` into a configuration as the loader does, and passes on each problem and link.
void checkValues(DataNode properties, const mirra::ReflectedObject& configuration, IValueSink& sink);

} // namespace Kiln::PrefabInspection
