#include "edit_list.h"

#include <algorithm>
#include <utility>

namespace Kiln::PrefabEditing {

std::vector<TextEdit> EditList::take() {
    std::stable_sort(m_edits.begin(), m_edits.end(),
                     [](const TextEdit& left, const TextEdit& right) { return left.offset < right.offset; });
    std::vector<TextEdit> joined;
    for (TextEdit& edit : m_edits) {
        if (joined.empty() || joined.back().end() < edit.offset) {
            joined.push_back(std::move(edit));
        } else {
            joined.back().text += edit.text;
            joined.back().size = edit.end() - joined.back().offset;
        }
    }
    m_edits.clear();
    return joined;
}

} // namespace Kiln::PrefabEditing
