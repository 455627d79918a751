#pragma once

#include <reflection/export.h>
#include <reflection/value_type.h>

#include <atomic>
#include <type_traits>
#include <typeindex>
#include <typeinfo>

namespace mirra {

/// A class with a description of its own, which may be registered later than descriptions that refer to it. Until then
/// its values have no properties, and so all of them are equal.
class KILN_REFLECTION_EXPORT StructureValueType final : public ValueType {
public:
    /// The name is that of the C++ type.
    explicit StructureValueType(std::type_index type);
    ~StructureValueType() override;

    [[nodiscard]] const BaseStaticMetaObject* metaObject() const override;
    [[nodiscard]] bool containsLinks() const override;
    [[nodiscard]] bool isEqual(const void* a, const void* b) const override;

private:
    /// Null until the description has been found. Descriptions are immutable once registered and stay until the process
    /// ends; the release store after the lookup pairs with the acquire loads of other threads.
    mutable std::atomic<const BaseStaticMetaObject*> m_metaObject{nullptr};
};

/// Every class that has no specialisation of its own.
template <class T>
struct ValueTypeOf {
    static_assert(std::is_class_v<T>, "this type cannot be reflected: it is neither a known scalar nor a class");

    /// Never destroyed: descriptions refer to it until the process ends.
    static const ValueType& get() {
        static const ValueType* const instance = new StructureValueType(typeid(T));
        return *instance;
    }
};

} // namespace mirra
