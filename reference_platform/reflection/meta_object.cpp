#include <reflection/meta_object.h>

#include <algorithm>
#include <utility>

namespace mirra {

namespace {

/// The innermost element type of a vector, or of vectors in vectors; any other type itself.
const ValueType& innermostType(const ValueType& type) {
    const ValueType* innermost = &type;
    while (const ValueType* element = innermost->elementType()) {
        innermost = element;
    }
    return *innermost;
}

} // namespace

BaseStaticMetaObject::BaseStaticMetaObject(std::type_index type, std::string name, Annotations annotations)
    : m_type(type), m_name(std::move(name)), m_annotations(std::move(annotations)) {}

BaseStaticMetaObject::~BaseStaticMetaObject() = default;

const Property* BaseStaticMetaObject::findProperty(std::string_view name) const noexcept {
    const auto found = std::find_if(m_properties.begin(), m_properties.end(),
                                    [name](const Property& property) { return property.name == name; });
    return found == m_properties.end() ? nullptr : &*found;
}

bool BaseStaticMetaObject::findLinks() const {
    // Each description is visited once, because a structure may contain itself through a vector.
    std::vector<const BaseStaticMetaObject*> reached{this};
    bool isEveryTypeDescribed = true;
    for (std::size_t i = 0; i < reached.size(); ++i) {
        for (const Property& property : reached[i]->m_properties) {
            const ValueType& type = innermostType(*property.type);
            if (type.kind() == ValueKind::LINK) {
                m_linkState.store(LinkState::LINKS, std::memory_order_relaxed);
                return true;
            }
            if (type.kind() != ValueKind::STRUCTURE) {
                continue;
            }
            const BaseStaticMetaObject* metaObject = type.metaObject();
            if (!metaObject) {
                isEveryTypeDescribed = false;
            } else if (std::find(reached.begin(), reached.end(), metaObject) == reached.end()) {
                reached.push_back(metaObject);
            }
        }
    }
    if (isEveryTypeDescribed) {
        m_linkState.store(LinkState::NO_LINKS, std::memory_order_relaxed);
    }
    return false;
}

void BaseStaticMetaObject::addProperty(Property property) {
    m_properties.push_back(std::move(property));
    m_linkState.store(LinkState::UNKNOWN, std::memory_order_relaxed);
}

} // namespace mirra
