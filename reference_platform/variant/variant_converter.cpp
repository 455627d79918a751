#include <variant/variant_converter.h>

#include <core/shared_object.h>

#include <cstddef>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

namespace vessa {

namespace {

struct ConversionKey {
    std::type_index from;
    std::type_index to;

    friend bool operator==(const ConversionKey&, const ConversionKey&) = default;
};

struct ConversionKeyHash {
    std::size_t operator()(const ConversionKey& key) const noexcept {
        constexpr std::size_t ODD_MULTIPLIER = 31; // so that (a, b) and (b, a) differ
        return key.from.hash_code() * ODD_MULTIPLIER + key.to.hash_code();
    }
};

struct Register {
    std::shared_mutex mutex; ///< Guards conversions. No other lock is taken under it.
    std::unordered_map<ConversionKey, VariantConverter::Conversion, ConversionKeyHash> conversions;
};

/// Never destroyed, so that static objects of every library can use it.
Register& conversionRegister() {
    static Register* const instance = new Register;
    return *instance;
}

VariantConverter::Conversion findConversion(std::type_index from, std::type_index to) {
    Register& reg = conversionRegister();
    const std::shared_lock lock(reg.mutex);
    const auto found = reg.conversions.find({from, to});
    return found == reg.conversions.end() ? nullptr : found->second;
}

} // namespace

void VariantConverter::registerConversion(std::type_index from, std::type_index to, Conversion conversion) {
    Kiln::pinSharedObject(reinterpret_cast<const void*>(conversion));
    Register& reg = conversionRegister();
    const std::unique_lock lock(reg.mutex);
    reg.conversions.try_emplace({from, to}, conversion);
}

Variant VariantConverter::convert(const Variant& variant, std::type_index target) {
    if (variant.isEmpty() || variant.type() == target) {
        return variant;
    }
    const Conversion conversion = findConversion(variant.type(), target);
    return conversion ? Variant::refer(target, conversion(variant.address())) : Variant();
}

} // namespace vessa
