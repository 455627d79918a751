#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <core/api.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeindex>
#include <utility>
#include <vector>

namespace mirra {

struct Annotation {
    std::string_view name;
};

namespace Meta::View {
inline constexpr Annotation Path{"Meta::View::Path"};
} // namespace Meta::View

using Annotations = std::vector<Annotation>;

/// Reads and writes the text of a value. Structures have none. Another platform library overloads it for its types.
MINIMAL_API bool parseText(const std::string& text, std::string& value);
MINIMAL_API bool parseText(const std::string& text, Kiln::Matrix& value);
MINIMAL_API std::string formatValue(const std::string& value);
MINIMAL_API std::string formatValue(const Kiln::Matrix& value);

enum class ValueKind { SCALAR, LINK };

/// The type of a value.
class ValueType {
public:
    constexpr explicit ValueType(ValueKind kind) : m_kind(kind) {}
    [[nodiscard]] constexpr ValueKind kind() const { return m_kind; }
    [[nodiscard]] constexpr bool containsLinks() const { return m_kind == ValueKind::LINK; }

private:
    ValueKind m_kind;
};

/// Another platform library overloads it for its types.
[[nodiscard]] inline const ValueType& valueTypeOf(const void* /*value*/) {
    static constexpr ValueType SCALAR(ValueKind::SCALAR);
    return SCALAR;
}

/// One property of a described type.
struct Property {
    std::string name;
    Annotations annotations;
    std::type_index type;
    void* (*address)(void* object);
    bool (*parse)(const std::string& text, void* value);
    std::string (*format)(const void* value);
    const ValueType* valueType;
};

/// Description of one type. Immutable once it is registered.
struct MetaObject {
    std::type_index type;
    std::string name;
    std::vector<Property> properties;
};

/// Descriptions by type; they stay until the process ends. Any thread.
class MINIMAL_API MetaObjectManager {
public:
    static MetaObjectManager& instance();
    void registerType(MetaObject metaObject);

    /// Null when the type has no description.
    [[nodiscard]] const MetaObject* findType(std::type_index type) const;
};

template <class T>
class StaticMetaObjectBuilder {
public:
    explicit StaticMetaObjectBuilder(std::string name) : m_metaObject{typeid(T), std::move(name), {}} {}

    /// `Member` is a data member, or a member function that returns a reference to one.
    template <auto Member>
    void addProperty(std::string name, Annotations annotations = {}) {
        using Value = std::remove_cvref_t<std::invoke_result_t<decltype(Member), T&>>;
        m_metaObject.properties.push_back(
            {std::move(name), std::move(annotations), typeid(Value),
             [](void* object) -> void* { return const_cast<Value*>(&std::invoke(Member, *static_cast<T*>(object))); },
             [](const std::string& text, void* value) { return parseText(text, *static_cast<Value*>(value)); },
             [](const void* value) { return formatValue(*static_cast<const Value*>(value)); },
             &valueTypeOf(static_cast<const Value*>(nullptr))});
    }

    void finish() { MetaObjectManager::instance().registerType(std::move(m_metaObject)); }

private:
    MetaObject m_metaObject;
};

} // namespace mirra
