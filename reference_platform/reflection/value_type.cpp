#include <reflection/value_type.h>

#include <utility>

namespace mirra {

ValueType::ValueType(ValueKind kind, std::type_index type, std::string name)
    : m_kind(kind), m_type(type), m_name(std::move(name)) {}

ValueType::~ValueType() = default;

bool ValueType::parse(std::string_view, void*) const {
    return false;
}

bool ValueType::setInteger(std::uint32_t, void*) const {
    return false;
}

bool ValueType::setFloat(float, void*) const {
    return false;
}

bool ValueType::setUuid(const Kiln::Uuid&, void*) const {
    return false;
}

bool ValueType::setMatrix(const Kiln::Matrix&, void*) const {
    return false;
}

void ValueType::format(const void*, std::string&) const {}

std::size_t ValueType::elementsCount(const void*) const {
    return 0;
}

void* ValueType::elementAt(void*, std::size_t) const {
    return nullptr;
}

void ValueType::clearElements(void*) const {}

void* ValueType::appendElement(void*) const {
    return nullptr;
}

} // namespace mirra
