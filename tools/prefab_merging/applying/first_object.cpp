#include "first_object.h"

#include "../keyed_document.h"
#include "edits.h"

#include <cstdint>

namespace Kiln::PrefabMerging {

std::optional<std::string> withFirstObject(const std::string& text, const Uuid& uuid) {
    const KeyedDocument document(text);
    const std::uint32_t object = document.findObject(uuid);
    if (object == KeyedDocument::NONE) {
        return std::nullopt;
    }
    if (object == 0) {
        return text;
    }
    const Range moved = document.objects()[object].range;
    const Range blank = blankBefore(text, moved.begin);
    const std::size_t first = document.objects().front().range.begin;
    Edits edits(text);
    edits.insert(blankBefore(text, first).begin, std::string(part(text, {blank.begin, moved.end})));
    edits.remove({blank.begin, moved.end});
    for (const KeyedItem& item : document.items()) {
        if (item.object <= object) {
            edits.replace(item.index, std::to_string(item.object == object ? 0 : item.object + 1));
        }
    }
    return edits.apply();
}

} // namespace Kiln::PrefabMerging
