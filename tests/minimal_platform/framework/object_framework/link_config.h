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
};

/// The only kind of link here. Main thread, but for the UUID, which workers may read.
class MINIMAL_API GameObjectLink final : public ILinkConfig {
public:
    [[nodiscard]] const Uuid& uuid() const override { return m_uuid; }
    void setUuid(const Uuid& uuid) override { m_uuid = uuid; }

    /// Whether the UUID is that of a live object.
    [[nodiscard]] bool isLiveUuid() const { return m_isLiveUuid; }
    void setLiveUuid(bool isLive) { m_isLiveUuid = isLive; }

    [[nodiscard]] GameObject target() const { return m_target; }
    void setTarget(GameObject target) { m_target = target; }

private:
    Uuid m_uuid;
    bool m_isLiveUuid = false;
    GameObject m_target;
};

// Found by the templates of meta_object.h through their argument.
MINIMAL_API bool parseText(const std::string& text, GameObjectLink& link);
MINIMAL_API std::string formatValue(const GameObjectLink& link);

} // namespace Kiln::Tessel
