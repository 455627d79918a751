#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_serialization/component_descriptor.h>
#include <prefab_inspection/composition/prefab_file.h>
#include <prefab_inspection/export.h>
#include <reflection/value_type.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabInspection {

/// Something that sets a value.
struct ValueLayer {
    enum class Kind {
        DEFAULT, ///< The component's own default.
        FILE,    ///< The file in which the component is.
        LOADING, ///< The loader, which gives the root of a prefab its path.
        OVERRIDE ///< Override data.
    };
    enum class Effect {
        WINS,
        OVERRIDDEN, ///< A later layer sets the value.
        UNREADABLE, ///< The text is not of the value's type and is ignored.
        REPLACED    ///< The override data as a whole has no effect, because outer override data replaces it.
    };

    Kind kind;
    Effect effect;
    Origin origin;    ///< The element that has the value; none for DEFAULT and LOADING.
    std::string text; ///< As in ComposedValue; for a vector the number of its elements, for a structure empty.
};

/// A property of a component, an element of a vector or a member of a structure.
struct ComposedValue {
    std::string name; ///< Empty for an element of a vector.
    mirra::ValueKind kind = mirra::ValueKind::SCALAR;
    std::string text;                    ///< SCALAR and LINK: the text in the file; white space around it is removed
                                         ///< unless the type keeps it.
    std::vector<ComposedValue> children; ///< VECTOR and STRUCTURE.
    std::vector<ValueLayer> layers;      ///< In the order in which they are applied, from inner to outer.
};

/// Applies layers of properties to a component's default values, by the rules of readProperties(). One thread.
class ValueComposer : NonCopyable {
public:
    /// Starts with the defaults. Without values if the type has no descriptor or description.
    explicit ValueComposer(std::size_t typeId);

    void apply(ValueLayer::Kind kind, const Origin& properties);

    /// Lists override data that has no effect.
    void addReplaced(const Origin& properties);

    /// Sets a string property as the loader does.
    void setByLoader(std::string_view property, const std::string& text);

    [[nodiscard]] std::vector<ComposedValue> take() { return std::move(m_values); }

private:
    SmartPointer<IComponentDescriptor> m_descriptor;
    mirra::ReflectedObject m_configuration;
    std::vector<ComposedValue> m_values;
};

/// The values that are written below `properties` in a file and nothing else. The registered description of the type,
/// if there is one, says what is a vector or structure and which white space matters; otherwise the elements do.
[[nodiscard]] std::vector<ComposedValue> storedValues(std::size_t typeId, const Origin& properties);

/// The value at a path such as "moorings[0].line"; null if there is none.
[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT const ComposedValue* findValue(const std::vector<ComposedValue>& values,
                                                                           std::string_view path);

} // namespace Kiln::PrefabInspection
