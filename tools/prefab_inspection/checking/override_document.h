#pragma once

#include <common/uuid.h>
#include <core/smart_pointer.h>
#include <resource/data_section.h>
#include <resource/resource_text.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::PrefabInspection {

/// The overrides of one component. The loader ignores those without type or without properties.
struct OverriddenComponent {
    DataNode element;
    DataNode typeElement; ///< Null if it is absent.
    DataNode properties;  ///< Null if it is absent.
    std::string type;
};

/// The overrides of one game object.
struct OverriddenObject {
    DataNode element;
    DataNode uuidElement; ///< Null if it is absent.
    std::optional<Uuid> uuid;
    std::vector<OverriddenComponent> components;
};

/// An override text, read by the rules of the loader, but without messages. An empty text has no objects.
struct OverrideDocument {
    explicit OverrideDocument(const std::string& text);

    SmartPointer<DataSection> section; ///< Null for an empty text, or one that is not well-formed.
    std::optional<XmlProblem> problem; ///< Why the text is not well-formed.
    bool isRootKnown = true;           ///< Whether the root is named "overrides"; the text is ignored if not.
    std::vector<OverriddenObject> objects;
};

/// Appends the paths that an override text, or one inside of it, gives to nested prefabs.
void collectResources(const std::string& overrides, std::vector<std::string>& paths);

} // namespace Kiln::PrefabInspection
