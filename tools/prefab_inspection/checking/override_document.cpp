#include <prefab_inspection/checking/override_document.h>

#include <common/white_space.h>
#include <prefab_inspection/documents/prefab_document.h>
#include <tessel_asset_loading/prefab_component.h>

namespace Kiln::PrefabInspection {

namespace {

/// Texts inside of texts are escaped once more at each level, so that deep ones are long.
constexpr int MAX_DEPTH = 32;

[[nodiscard]] OverriddenObject readObject(DataNode element) {
    OverriddenObject object;
    object.element = element;
    object.uuidElement = element.child(ElementName::UUID);
    object.uuid = Uuid::fromString(trimWhiteSpace(object.uuidElement.text()));
    for (DataNode child = element.firstChild(); child; child = child.nextSibling()) {
        if (child.isNamed(ElementName::COMPONENT)) {
            const DataNode type = child.child(ElementName::TYPE);
            object.components.push_back({child, type, child.child(ElementName::PROPERTIES), type.text()});
        }
    }
    return object;
}

void collect(const std::string& overrides, std::vector<std::string>& paths, int depth) {
    if (depth > MAX_DEPTH) {
        return;
    }
    const OverrideDocument document(overrides);
    for (const OverriddenObject& object : document.objects) {
        for (const OverriddenComponent& component : object.components) {
            for (DataNode child = component.properties.firstChild(); child; child = child.nextSibling()) {
                if (child.isNamed(Tessel::PrefabComponent::RESOURCE_PROPERTY)) {
                    paths.push_back(child.text());
                } else if (child.isNamed(Tessel::PrefabComponent::OVERRIDES_DATA_PROPERTY)) {
                    collect(child.text(), paths, depth + 1);
                }
            }
        }
    }
}

} // namespace

OverrideDocument::OverrideDocument(const std::string& text) {
    if (text.empty()) {
        return;
    }
    XmlProblem found;
    section = parseXml(FileContent::copyOf(text), "override data", found);
    if (!section) {
        problem = std::move(found);
        return;
    }
    isRootKnown = section->sectionName() == ElementName::OVERRIDES;
    for (DataNode child = section->node().firstChild(); child && isRootKnown; child = child.nextSibling()) {
        if (child.isNamed(ElementName::GAME_OBJECT)) {
            objects.push_back(readObject(child));
        }
    }
}

void collectResources(const std::string& overrides, std::vector<std::string>& paths) {
    collect(overrides, paths, 0);
}

} // namespace Kiln::PrefabInspection
