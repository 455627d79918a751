#include <prefab_inspection/checking/override_layers.h>

#include <object_serialization/component_library.h>
#include <tessel_asset_loading/prefab_component.h>

namespace Kiln::PrefabInspection {

namespace {

using Tessel::PrefabComponent;

[[nodiscard]] const std::string& prefabComponentName() {
    static const std::string name =
        ComponentLibrary::instance().componentName(Tessel::NativeComponent<PrefabComponent>::getType());
    return name;
}

} // namespace

const OverrideLayer* OverrideLayers::ownLayer(const std::string& file, const NestingFacts& point,
                                              const Uuid& pointUuid) {
    if (point.overrides.empty()) {
        return nullptr;
    }
    std::unique_ptr<OverrideLayer>& layer = m_own[{file, point.object}];
    if (!layer) {
        layer = std::make_unique<OverrideLayer>(file, point.object, pointUuid,
                                                std::vector<std::size_t>{point.overridesOffset}, point.overrides);
    }
    return layer.get();
}

PointOverrides OverrideLayers::overridesOf(const std::vector<const OverrideLayer*>& layers, const Uuid& point) {
    PointOverrides overrides;
    for (const OverrideLayer* const layer : layers) {
        for (const OverriddenObject& object : layer->document.objects) {
            if (object.uuid == point) {
                addOverridesOf(*layer, object, overrides);
            }
        }
    }
    return overrides;
}

void OverrideLayers::addOverridesOf(const OverrideLayer& layer, const OverriddenObject& object,
                                    PointOverrides& overrides) {
    for (const OverriddenComponent& component : object.components) {
        if (component.type != prefabComponentName()) {
            continue;
        }
        for (DataNode child = component.properties.firstChild(); child; child = child.nextSibling()) {
            if (child.isNamed(PrefabComponent::RESOURCE_PROPERTY)) {
                overrides.resource = child;
                overrides.resourceLayer = &layer;
            } else if (child.isNamed(PrefabComponent::OVERRIDES_DATA_PROPERTY)) {
                overrides.overridesLayer = innerLayer(layer, child);
            }
        }
    }
}

const OverrideLayer* OverrideLayers::innerLayer(const OverrideLayer& layer, DataNode element) {
    std::unique_ptr<OverrideLayer>& inner = m_inner[{&layer, element.offset()}];
    if (!inner) {
        std::vector<std::size_t> embedding = layer.embedding;
        embedding.push_back(static_cast<std::size_t>(element.offset()));
        inner = std::make_unique<OverrideLayer>(layer.file, layer.object, layer.objectUuid, std::move(embedding),
                                                element.text());
    }
    return inner.get();
}

} // namespace Kiln::PrefabInspection
