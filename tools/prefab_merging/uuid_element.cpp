#include "uuid_element.h"

#include "markup.h"

#include <common/white_space.h>
#include <prefab_inspection/documents/prefab_document.h>

namespace Kiln::PrefabMerging {

namespace ElementName = PrefabInspection::ElementName;

std::string uuidElement(const Uuid& uuid) {
    return "<uuid>" + uuid.toString() + "</uuid>";
}

std::optional<Uuid> uuidOfElement(const std::string& element) {
    const MarkupTree tree(element);
    const bool isElement = tree.tops().size() == 1 && tree.node(0).name == ElementName::UUID;
    return isElement ? Uuid::fromString(trimWhiteSpace(tree.value(tree.node(0)))) : std::nullopt;
}

} // namespace Kiln::PrefabMerging
