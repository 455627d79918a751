#include <tessel_asset_loading/prefab_component.h>

namespace Kiln::Tessel {

PrefabComponent::PrefabComponent(const Config& config)
    : m_resource(config.resource),
      m_overridesData(config.overridesData),
      m_hasOverrides(config.hasOverrides || !config.overridesData.empty()) {}

PrefabComponent::~PrefabComponent() = default;

} // namespace Kiln::Tessel
