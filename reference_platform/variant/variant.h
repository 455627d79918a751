#pragma once

#include <variant/export.h>

#include <memory>
#include <type_traits>
#include <typeindex>
#include <utility>

/// Variants, and conversions between the types of their values.
namespace vessa {

/// A value of any type, shared without copying: it either owns the value together with other variants, or refers to
/// one that is owned elsewhere and must outlive it.
///
/// Threads: as std::shared_ptr; callers synchronise access to the value itself.
class Variant {
public:
    Variant() = default;

    /// Owns a value; copies of the variant share it.
    template <class T>
        requires(!std::is_same_v<std::remove_cvref_t<T>, Variant>)
    [[nodiscard]] static Variant own(T&& value) {
        using Value = std::remove_cvref_t<T>;
        return Variant(typeid(Value), std::make_shared<Value>(std::forward<T>(value)));
    }

    /// Shares a value with `pointer`, which may own it or only refer to it; empty if `pointer` is null.
    template <class T>
    [[nodiscard]] static Variant share(std::shared_ptr<T> pointer) {
        return Variant(typeid(T), std::move(pointer));
    }

    /// @{
    /// Refers to a value that is owned elsewhere; empty if `value` is null. No allocation.
    template <class T>
    [[nodiscard]] static Variant refer(T* value) {
        return refer(typeid(T), value);
    }
    [[nodiscard]] static Variant refer(std::type_index type, void* value) {
        return Variant(type, std::shared_ptr<void>(std::shared_ptr<void>(), value));
    }
    /// @}

    /// Whether there is no value.
    [[nodiscard]] bool isEmpty() const noexcept { return m_value == nullptr; }

    /// Type of the value; typeid(void) when empty.
    [[nodiscard]] std::type_index type() const noexcept { return m_type; }

    /// The value when its type is exactly T, otherwise null. VariantConverter also applies conversions.
    template <class T>
    [[nodiscard]] T* get() const noexcept {
        return m_type == typeid(T) ? static_cast<T*>(m_value.get()) : nullptr;
    }

    /// Address of the value, whatever its type.
    [[nodiscard]] void* address() const noexcept { return m_value.get(); }

private:
    Variant(std::type_index type, std::shared_ptr<void> value)
        : m_type(value ? type : typeid(void)), m_value(std::move(value)) {}

    std::type_index m_type = typeid(void);
    std::shared_ptr<void> m_value;
};

} // namespace vessa
