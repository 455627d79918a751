#pragma once

#include <reflection/value_type.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace mirra {

/// A std::vector<T>, for any reflected type T.
template <class T>
class VectorValueType final : public ValueType {
public:
    VectorValueType()
        : ValueType(ValueKind::VECTOR, typeid(std::vector<T>), "vector of " + valueType<T>().name()),
          m_elementType(valueType<T>()) {}

    [[nodiscard]] const ValueType* elementType() const noexcept override { return &m_elementType; }

    [[nodiscard]] std::size_t elementsCount(const void* value) const override {
        return static_cast<const std::vector<T>*>(value)->size();
    }

    [[nodiscard]] void* elementAt(void* value, std::size_t index) const override {
        return &(*static_cast<std::vector<T>*>(value))[index];
    }

    void clearElements(void* value) const override { static_cast<std::vector<T>*>(value)->clear(); }

    void* appendElement(void* value) const override { return &static_cast<std::vector<T>*>(value)->emplace_back(); }

    [[nodiscard]] bool containsLinks() const override { return m_elementType.containsLinks(); }

    [[nodiscard]] bool isEqual(const void* a, const void* b) const override {
        const auto& first = *static_cast<const std::vector<T>*>(a);
        const auto& second = *static_cast<const std::vector<T>*>(b);
        if (first.size() != second.size()) {
            return false;
        }
        for (std::size_t i = 0; i < first.size(); ++i) {
            if (!m_elementType.isEqual(&first[i], &second[i])) {
                return false;
            }
        }
        return true;
    }

private:
    const ValueType& m_elementType;
};

/// A vector of any reflected type but bool.
template <class T>
struct ValueTypeOf<std::vector<T>> {
    static_assert(!std::is_same_v<T, bool>,
                  "elements of std::vector<bool> cannot be referenced; reflect a std::vector<std::uint8_t>");

    /// Never destroyed: descriptions refer to it until the process ends.
    static const ValueType& get() {
        static const ValueType* const instance = new VectorValueType<T>;
        return *instance;
    }
};

} // namespace mirra
