#include <reflection/scalar_value_types.h>

#include <common/bool_text.h>
#include <common/float_text.h>
#include <common/number_text.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <optional>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace mirra {

namespace {

// How each scalar is read, written and compared: overloads that ScalarValueType picks by the type of the value.

bool parseScalar(std::string_view text, bool& value) {
    return Kiln::readBool(text, value);
}

template <class Number>
    requires std::is_arithmetic_v<Number>
bool parseScalar(std::string_view text, Number& value) {
    return Kiln::readNumber(text, value);
}

bool parseScalar(std::string_view text, float& value) {
    return Kiln::FloatText::read(text, value);
}

bool parseScalar(std::string_view text, std::string& value) {
    value = text;
    return true;
}

template <class T>
concept ReadableFromString = requires(std::string_view text) {
    { T::fromString(text) } -> std::same_as<std::optional<T>>;
};

template <ReadableFromString T>
bool parseScalar(std::string_view text, T& value) {
    const std::optional<T> result = T::fromString(text);
    if (!result) {
        return false;
    }
    value = *result;
    return true;
}

void formatScalar(bool value, std::string& text) {
    text += Kiln::boolText(value);
}

template <class Number>
    requires std::is_arithmetic_v<Number>
void formatScalar(Number value, std::string& text) {
    Kiln::appendNumber(value, text);
}

void formatScalar(float value, std::string& text) {
    std::array<char, Kiln::FloatText::MAX_LENGTH> buffer;
    text.append(buffer.data(), Kiln::FloatText::write(buffer.data(), value));
}

void formatScalar(const std::string& value, std::string& text) {
    text += value;
}

template <ReadableFromString T>
void formatScalar(const T& value, std::string& text) {
    text += value.toString();
}

template <class T>
bool isScalarEqual(const T& a, const T& b) {
    return a == b;
}

template <std::floating_point T>
bool isScalarEqual(const T& a, const T& b) {
    return (a == b && std::signbit(a) == std::signbit(b)) || (std::isnan(a) && std::isnan(b));
}

bool isScalarEqual(const Kiln::Matrix& a, const Kiln::Matrix& b) {
    return std::equal(a.values.begin(), a.values.end(), b.values.begin(),
                      [](float x, float y) { return isScalarEqual(x, y); });
}

template <class T>
class ScalarValueType final : public ValueType {
public:
    explicit ScalarValueType(std::string name) : ValueType(ValueKind::SCALAR, typeid(T), std::move(name)) {}

    bool isWhiteSpaceKept() const noexcept override { return std::is_same_v<T, std::string>; }

    bool parse(std::string_view text, void* value) const override { return parseScalar(text, *static_cast<T*>(value)); }

    bool setInteger(std::uint32_t number, void* value) const override {
        if constexpr (std::is_arithmetic_v<T> && !std::is_same_v<T, bool>) {
            if constexpr (std::is_integral_v<T>) {
                if (!std::in_range<T>(number)) {
                    return false;
                }
            }
            *static_cast<T*>(value) = static_cast<T>(number);
            return true;
        } else {
            return false;
        }
    }

    bool setFloat(float number, void* value) const override { return setSame(number, value); }
    bool setUuid(const Kiln::Uuid& uuid, void* value) const override { return setSame(uuid, value); }
    bool setMatrix(const Kiln::Matrix& matrix, void* value) const override { return setSame(matrix, value); }

    void format(const void* value, std::string& text) const override {
        formatScalar(*static_cast<const T*>(value), text);
    }

    bool isEqual(const void* a, const void* b) const override {
        return isScalarEqual(*static_cast<const T*>(a), *static_cast<const T*>(b));
    }

private:
    /// Sets the value to an argument of its own type.
    template <class Argument>
    static bool setSame(const Argument& argument, void* value) {
        if constexpr (std::is_same_v<T, Argument>) {
            *static_cast<T*>(value) = argument;
            return true;
        } else {
            return false;
        }
    }
};

/// Never destroyed: descriptions in every library refer to it until the process ends.
template <class T>
const ValueType& scalarValueType(const char* name) {
    static const ValueType* const instance = new ScalarValueType<T>(name);
    return *instance;
}

} // namespace

const ValueType& ValueTypeOf<bool>::get() {
    return scalarValueType<bool>("bool");
}
const ValueType& ValueTypeOf<std::int8_t>::get() {
    return scalarValueType<std::int8_t>("int8");
}
const ValueType& ValueTypeOf<std::int16_t>::get() {
    return scalarValueType<std::int16_t>("int16");
}
const ValueType& ValueTypeOf<std::int32_t>::get() {
    return scalarValueType<std::int32_t>("int32");
}
const ValueType& ValueTypeOf<std::int64_t>::get() {
    return scalarValueType<std::int64_t>("int64");
}
const ValueType& ValueTypeOf<std::uint8_t>::get() {
    return scalarValueType<std::uint8_t>("uint8");
}
const ValueType& ValueTypeOf<std::uint16_t>::get() {
    return scalarValueType<std::uint16_t>("uint16");
}
const ValueType& ValueTypeOf<std::uint32_t>::get() {
    return scalarValueType<std::uint32_t>("uint32");
}
const ValueType& ValueTypeOf<std::uint64_t>::get() {
    return scalarValueType<std::uint64_t>("uint64");
}
const ValueType& ValueTypeOf<float>::get() {
    return scalarValueType<float>("float");
}
const ValueType& ValueTypeOf<double>::get() {
    return scalarValueType<double>("double");
}
const ValueType& ValueTypeOf<std::string>::get() {
    return scalarValueType<std::string>("string");
}
const ValueType& ValueTypeOf<Kiln::Uuid>::get() {
    return scalarValueType<Kiln::Uuid>("Uuid");
}
const ValueType& ValueTypeOf<Kiln::Matrix>::get() {
    return scalarValueType<Kiln::Matrix>("Matrix");
}

} // namespace mirra
