#include "comment_position.h"

#include <prefab_inspection/documents/prefab_document.h>

#include <cstdint>

namespace Kiln::PrefabMerging {

namespace {

namespace ElementName = PrefabInspection::ElementName;

constexpr std::uint32_t NONE = KeyedDocument::NONE;

[[nodiscard]] std::size_t positionInItem(const Place& place, std::string_view text, Range item) {
    if (place.kind != Place::Kind::PROPERTY) {
        return item.begin;
    }
    const MarkupTree tree(part(text, item));
    const MarkupNode* const properties = tree.child(tree.node(tree.tops().front()), ElementName::PROPERTIES);
    const MarkupNode* const property = properties ? tree.child(*properties, place.element) : nullptr;
    return item.begin + (property ? property->range.begin : 0);
}

} // namespace

std::optional<std::size_t> positionFor(const Place& place, const KeyedDocument& document) {
    if (place.kind == Place::Kind::POOL || place.kind == Place::Kind::POOL_ELEMENT) {
        const std::uint32_t pool = document.findPool(place.component, place.componentNumber);
        return pool == NONE ? std::nullopt : std::optional(document.pools()[pool].range.begin);
    }
    const std::uint32_t object = place.object ? document.findObject(*place.object) : NONE;
    if (object == NONE) {
        return std::nullopt;
    }
    const std::uint32_t item = document.findItem(object, place.component, place.componentNumber);
    return item == NONE ? document.objects()[object].range.begin
                        : positionInItem(place, document.text(), document.items()[item].range);
}

} // namespace Kiln::PrefabMerging
