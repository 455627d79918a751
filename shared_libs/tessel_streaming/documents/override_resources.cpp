#include <tessel_streaming/documents/override_resources.h>

#include <object_serialization/component_library.h>
#include <resource/data_section.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/prefab_component.h>

#include <string_view>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

/// Whether a text may have records of the component. A name can only be hidden by character references, comments,
/// CDATA sections and processing instructions, each of which has one of the three characters, also when the text is
/// escaped.
[[nodiscard]] bool mayName(std::string_view text, std::string_view componentName) {
    return text.find(componentName) != std::string_view::npos || text.find_first_of("#!?") != std::string_view::npos;
}

/// Appends the resources and the override data that a component record sets.
void visitRecord(DataNode component, std::vector<std::string>& resources, std::vector<std::string>& texts) {
    for (DataNode property = component.child("properties").firstChild(); property; property = property.nextSibling()) {
        if (property.name() == PrefabComponent::RESOURCE_PROPERTY) {
            resources.push_back(property.text());
        } else if (property.name() == PrefabComponent::OVERRIDES_DATA_PROPERTY) {
            texts.push_back(property.text());
        }
    }
}

/// Appends what one text sets.
void visitText(const std::string& text, const std::string& componentName, std::vector<std::string>& resources,
               std::vector<std::string>& texts) {
    if (text.empty() || !mayName(text, componentName)) {
        return;
    }
    std::string ignored;
    const SmartPointer<DataSection> document = DataSection::fromText(text, "override data", &ignored);
    if (!document || document->sectionName() != "overrides") {
        return;
    }
    for (DataNode object = document->node().firstChild(); object; object = object.nextSibling()) {
        for (DataNode record = object.firstChild(); record; record = record.nextSibling()) {
            if (record.name() == "component" && record.child("type").text() == componentName) {
                visitRecord(record, resources, texts);
            }
        }
    }
}

} // namespace

void appendOverrideResources(const std::string& overridesData, std::vector<std::string>& resources) {
    const std::string componentName =
        ComponentLibrary::instance().componentName(NativeComponent<PrefabComponent>::getType());
    std::vector<std::string> texts;
    visitText(overridesData, componentName, resources, texts);
    // Each level of override data applies one level further down, so deeper ones than prefabs nest have no effect.
    for (int level = 0; level < GameObjectPrefab::MAX_NESTING_DEPTH && !texts.empty(); ++level) {
        std::vector<std::string> deeper;
        for (const std::string& text : texts) {
            visitText(text, componentName, resources, deeper);
        }
        texts = std::move(deeper);
    }
}

} // namespace Kiln::Tessel::Streaming::detail
