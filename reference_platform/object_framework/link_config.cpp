#include <object_framework/link_config.h>

#include <variant/variant_converter.h>

namespace Kiln::Tessel {

ILinkConfig::~ILinkConfig() = default;
GameObjectLink::~GameObjectLink() = default;

GameObjectLink::GameObjectLink(const GameObjectLink& other)
    : ILinkConfig(other), m_uuid(other.m_uuid), m_isLiveUuid(other.m_isLiveUuid) {
    setTarget(other.target());
}

// Each member keeps its value when it is assigned to itself. NOLINTNEXTLINE(cert-oop54-cpp)
GameObjectLink& GameObjectLink::operator=(const GameObjectLink& other) {
    m_uuid = other.m_uuid;
    m_isLiveUuid = other.m_isLiveUuid;
    setTarget(other.target());
    return *this;
}

LinkValueType::LinkValueType(std::type_index type, void* (*toLink)(void* value))
    : ValueType(mirra::ValueKind::LINK, type, "link") {
    vessa::VariantConverter::registerConversion(type, typeid(ILinkConfig), toLink);
}

bool LinkValueType::parse(std::string_view text, void* value) const {
    const std::optional<Uuid> uuid = Uuid::fromString(text);
    if (!uuid) {
        return false;
    }
    link(value).setUuid(*uuid);
    return true;
}

bool LinkValueType::setUuid(const Uuid& uuid, void* value) const {
    link(value).setUuid(uuid);
    return true;
}

void LinkValueType::format(const void* value, std::string& text) const {
    text += link(value).uuid().toString();
}

bool LinkValueType::isEqual(const void* a, const void* b) const {
    return link(a).uuid() == link(b).uuid();
}

} // namespace Kiln::Tessel
