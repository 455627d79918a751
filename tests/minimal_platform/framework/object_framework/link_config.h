#pragma once

#include <common/uuid.h>
#include <object_framework/game_object.h>
#include <reflection/meta_object.h>

#include <string>

namespace Kiln::Tessel {

class MINIMAL_API ILinkConfig {
public:
    virtual ~ILinkConfig();
    [[nodiscard]] virtual const Uuid& uuid() const = 0;
    virtual void setUuid(const Uuid& uuid) = 0;

    /// Whether the UUID is that of a live object.
    [[nodiscard]] virtual bool isLiveUuid() const = 0;
};

/// The only kind of link here. Main thread, but for the UUID, which workers may read.
class MINIMAL_API GameObjectLink final : public ILinkConfig {
public:
    [[nodiscard]] const Uuid& uuid() const override { return m_uuid; }
    void setUuid(const Uuid& uuid) override { m_uuid = uuid; }

    [[nodiscard]] bool isLiveUuid() const override { return m_isLiveUuid; }
    void setLiveUuid(bool isLive) { m_isLiveUuid = isLive; }

    [[nodiscard]] GameObject target() const { return m_target; }
    void setTarget(GameObject target) { m_target = target; }

private:
    Uuid m_uuid;
    bool m_isLiveUuid = false;
    GameObject m_target;
};

class LinkValueType final : public mirra::ValueType {
public:
    constexpr LinkValueType() : ValueType(mirra::ValueKind::LINK) {}
    [[nodiscard]] ILinkConfig& link(void* value) const { return *static_cast<GameObjectLink*>(value); }
};

// Found by the templates of meta_object.h through their argument.
MINIMAL_API bool parseText(const std::string& text, GameObjectLink& link);
MINIMAL_API std::string formatValue(const GameObjectLink& link);
[[nodiscard]] inline const mirra::ValueType& valueTypeOf(const GameObjectLink* /*link*/) {
    static constexpr LinkValueType LINK;
    return LINK;
}

} // namespace Kiln::Tessel
