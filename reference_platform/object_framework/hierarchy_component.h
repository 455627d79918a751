#pragma once

#include <object_framework/export.h>
#include <object_framework/game_object.h>
#include <object_framework/link_config.h>
#include <tessel_foundation/poolable_component.h>

namespace Kiln::Tessel {

/// Makes its game object a child of another one. The manager reads the parent when the component is added; to move an
/// object to another parent, remove the component and add a new one.
class KILN_OBJECT_FRAMEWORK_EXPORT HierarchyComponent final : public PoolableComponent<HierarchyComponent, IComponent> {
public:
    /// The configuration that a prefab stores.
    struct Config {
        GameObjectLink parent; ///< A link to the parent.

        /// The only link of the configuration: a creation resolves it without the description of the configuration.
        static constexpr GameObjectLink Config::*ONLY_LINK = &Config::parent;
    };

    /// @{
    /// The parent is given, or is the target that the configuration's link has at this time.
    explicit HierarchyComponent(GameObject parent) : m_parent(parent) {}
    explicit HierarchyComponent(const Config& config) : m_parent(config.parent.target()) {}
    /// @}
    ~HierarchyComponent() override;

    /// The parent; the invalid object when the link could not be resolved or the manager refused the parent.
    [[nodiscard]] GameObject parent() const noexcept { return m_parent; }

private:
    friend class GameObjectManager;

    GameObject m_parent;
};

} // namespace Kiln::Tessel
