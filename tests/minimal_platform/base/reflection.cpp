#include <reflection/reflected_object.h>
#include <variant/variant_converter.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <sstream>

namespace {

/// Never destroyed: components may be created and destroyed until the process ends.
struct Registers {
    std::mutex mutex; ///< Guards both maps.
    std::map<std::type_index, mirra::MetaObject> metaObjects;
    std::map<std::pair<std::type_index, std::type_index>, vessa::VariantConverter::Conversion> conversions;

    static Registers& instance() {
        static auto* const registers = new Registers;
        return *registers;
    }
};

} // namespace

namespace mirra {

MetaObjectManager& MetaObjectManager::instance() {
    static MetaObjectManager manager;
    return manager;
}

void MetaObjectManager::registerType(MetaObject metaObject) {
    const std::scoped_lock lock(Registers::instance().mutex);
    Registers::instance().metaObjects.try_emplace(metaObject.type, std::move(metaObject));
}

bool arePropertiesEqual(const MetaObject& metaObject, void* a, void* b) {
    return std::all_of(metaObject.properties.begin(), metaObject.properties.end(), [a, b](const Property& property) {
        return property.format(property.address(a)) == property.format(property.address(b));
    });
}

const MetaObject* MetaObjectManager::findType(std::type_index type) const {
    const std::scoped_lock lock(Registers::instance().mutex);
    const auto found = Registers::instance().metaObjects.find(type);
    return found == Registers::instance().metaObjects.end() ? nullptr : &found->second;
}

bool parseText(const std::string& text, std::string& value) {
    value = text;
    return true;
}

bool parseText(const std::string& text, Kiln::Matrix& value) {
    std::istringstream stream(text);
    Kiln::Matrix matrix;
    for (float& element : matrix.values) {
        stream >> element;
    }
    if (!stream) {
        return false;
    }
    value = matrix;
    return true;
}

std::string formatValue(const std::string& value) {
    return value;
}

std::string formatValue(const Kiln::Matrix& value) {
    std::ostringstream stream;
    for (const float element : value.values) {
        stream << element << ' ';
    }
    return stream.str();
}

} // namespace mirra

namespace vessa {

void VariantConverter::registerConversion(std::type_index from, std::type_index to, Conversion conversion) {
    const std::scoped_lock lock(Registers::instance().mutex);
    Registers::instance().conversions[{from, to}] = conversion;
}

void* VariantConverter::convert(const Variant& variant, std::type_index to) {
    const std::scoped_lock lock(Registers::instance().mutex);
    const auto found = Registers::instance().conversions.find({variant.type, to});
    return found == Registers::instance().conversions.end() ? nullptr : found->second(variant.value);
}

} // namespace vessa
