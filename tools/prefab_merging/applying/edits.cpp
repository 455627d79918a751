#include "edits.h"

#include <algorithm>

namespace Kiln::PrefabMerging {

std::string Edits::apply() {
    std::stable_sort(m_edits.begin(), m_edits.end(), [](const Edit& first, const Edit& second) {
        return first.range.begin != second.range.begin ? first.range.begin < second.range.begin
                                                       : first.range.isEmpty() && !second.range.isEmpty();
    });
    std::size_t inserted = 0;
    for (const Edit& edit : m_edits) {
        inserted += edit.text.size();
    }
    std::string result;
    result.reserve(m_text.size() + inserted);
    std::size_t position = 0;
    for (const Edit& edit : m_edits) {
        if (edit.range.begin < position && !edit.range.isEmpty()) {
            continue;
        }
        if (edit.range.begin >= position) {
            result.append(m_text.substr(position, edit.range.begin - position));
            position = edit.range.end;
        }
        result.append(edit.text);
    }
    return result.append(m_text.substr(position));
}

} // namespace Kiln::PrefabMerging
