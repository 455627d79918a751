#pragma once

#include <object_framework/link_config.h>
#include <tessel_foundation/poolable_component.h>

namespace Kiln::Tessel {

class MINIMAL_API HierarchyComponent final : public PoolableComponent<HierarchyComponent, IComponent> {
public:
    struct Config {
        GameObjectLink parent;
    };

    explicit HierarchyComponent(GameObject parent) : m_parent(parent) {}
    explicit HierarchyComponent(const Config& config) : m_parent(config.parent.target()) {}
    ~HierarchyComponent() override;

    [[nodiscard]] GameObject parent() const { return m_parent; }

private:
    GameObject m_parent;
};

} // namespace Kiln::Tessel
