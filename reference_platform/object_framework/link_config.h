#pragma once

#include <common/uuid.h>
#include <object_framework/export.h>
#include <object_framework/game_object.h>
#include <reflection/meta_object.h>

#include <atomic>
#include <concepts>

namespace Kiln::Tessel {

/// A part of a component configuration that links to another game object by that object's UUID. In a prefab the UUID is
/// that of a prefab object; while components are created from the prefab, the link also has a target, the live object.
class KILN_OBJECT_FRAMEWORK_EXPORT ILinkConfig {
public:
    virtual ~ILinkConfig();

    /// @{
    /// The UUID of the linked object; Uuid::ZERO means no link.
    [[nodiscard]] virtual const Uuid& uuid() const = 0;
    virtual void setUuid(const Uuid& uuid) = 0;
    /// @}

    /// Whether the UUID is already that of the live object and must not be combined with an instance UUID.
    [[nodiscard]] virtual bool isLiveUuid() const = 0;

    /// The live object during a creation; the invalid object when the link could not be resolved. Only the thread that
    /// creates objects may call this.
    [[nodiscard]] virtual GameObject target() const = 0;
    /// Sets the live object. Only the thread that creates objects may call this.
    virtual void setTarget(GameObject target) = 0;

protected:
    ILinkConfig() = default;
    /// @{
    /// For derived classes.
    ILinkConfig(const ILinkConfig&) = default;
    ILinkConfig& operator=(const ILinkConfig&) = default;
    /// @}
};

/// The default link class; a value type.
///
/// The target is stored in atomics, because the thread that creates objects sets it in configurations that a worker may
/// be copying at the same time. Only the creating thread uses the target, so relaxed order is enough.
class KILN_OBJECT_FRAMEWORK_EXPORT GameObjectLink final : public ILinkConfig {
public:
    GameObjectLink() = default;
    /// A link to the object with that UUID, without target.
    explicit GameObjectLink(const Uuid& uuid) : m_uuid(uuid) {}
    /// @{
    /// A link may be copied while another thread sets its target.
    GameObjectLink(const GameObjectLink& other);
    GameObjectLink& operator=(const GameObjectLink& other);
    /// @}
    ~GameObjectLink() override;

    [[nodiscard]] const Uuid& uuid() const override { return m_uuid; }
    void setUuid(const Uuid& uuid) override { m_uuid = uuid; }

    [[nodiscard]] bool isLiveUuid() const override { return m_isLiveUuid; }
    /// Says whether the UUID is that of a live object.
    void setLiveUuid(bool isLive) { m_isLiveUuid = isLive; }

    [[nodiscard]] GameObject target() const override {
        return {m_targetWorld.load(std::memory_order_relaxed), m_targetIndex.load(std::memory_order_relaxed),
                m_targetSerial.load(std::memory_order_relaxed)};
    }
    void setTarget(GameObject target) override {
        m_targetWorld.store(target.getWorldId(), std::memory_order_relaxed);
        m_targetIndex.store(target.index(), std::memory_order_relaxed);
        m_targetSerial.store(target.serial(), std::memory_order_relaxed);
    }

private:
    Uuid m_uuid;
    bool m_isLiveUuid = false;
    std::atomic<std::int32_t> m_targetWorld{-1};
    std::atomic<std::uint32_t> m_targetIndex{0xFFFFFFFF};
    std::atomic<std::uint64_t> m_targetSerial{0};
};

/// The reflected type of links. The text of a link is its UUID.
class KILN_OBJECT_FRAMEWORK_EXPORT LinkValueType : public mirra::ValueType {
public:
    /// The value as an ILinkConfig.
    [[nodiscard]] virtual ILinkConfig& link(void* value) const = 0;
    /// The value as an ILinkConfig, for reading.
    [[nodiscard]] const ILinkConfig& link(const void* value) const { return link(const_cast<void*>(value)); }

    bool parse(std::string_view text, void* value) const override;
    bool setUuid(const Uuid& uuid, void* value) const override;
    void format(const void* value, std::string& text) const override;
    [[nodiscard]] bool isEqual(const void* a, const void* b) const override;

protected:
    /// Also registers the conversion of variants of the type to ILinkConfig.
    LinkValueType(std::type_index type, void* (*toLink)(void* value));
};

} // namespace Kiln::Tessel

namespace mirra {

/// The reflected type of every class that derives from ILinkConfig.
template <std::derived_from<Kiln::Tessel::ILinkConfig> T>
struct ValueTypeOf<T> {
    /// Never destroyed: descriptions refer to it until the process ends.
    static const ValueType& get() {
        class Type final : public Kiln::Tessel::LinkValueType {
        public:
            Type()
                : LinkValueType(typeid(T), [](void* value) -> void* {
                      return static_cast<Kiln::Tessel::ILinkConfig*>(static_cast<T*>(value));
                  }) {}
            [[nodiscard]] Kiln::Tessel::ILinkConfig& link(void* value) const override {
                return *static_cast<T*>(value);
            }
        };
        static const Type* const type = new Type;
        return *type;
    }
};

} // namespace mirra
