#include "object_tree.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace Kiln::PrefabTool {

using PrefabInspection::PrefabView;

ObjectTree::ObjectTree(const PrefabView& view)
    : m_parents(view.size()),
      m_children(view.size()),
      m_levels(view.size()),
      m_isKept(view.size(), true),
      m_isMatch(view.size(), true) {
    for (std::size_t i = 0; i < view.size(); ++i) {
        m_parents[i] = view.object(i).parent;
        (m_parents[i] == PrefabView::NONE ? m_tops : m_children[m_parents[i]]).push_back(i);
    }
    std::vector<std::size_t> pending = m_tops;
    while (!pending.empty()) {
        const std::size_t object = pending.back();
        pending.pop_back();
        for (const std::size_t child : m_children[object]) {
            m_levels[child] = m_levels[object] + 1;
            pending.push_back(child);
        }
    }
}

std::size_t ObjectTree::keepMatches(const PrefabView& view, std::string_view text) {
    std::string uuidText(text);
    std::transform(uuidText.begin(), uuidText.end(), uuidText.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    m_isKept.assign(view.size(), false);
    m_isMatch.assign(view.size(), false);
    std::size_t count = 0;
    for (std::size_t i = 0; i < view.size(); ++i) {
        const PrefabView::Object object = view.object(i);
        if (object.name.find(text) == std::string::npos && object.uuid.toString().find(uuidText) == std::string::npos &&
            object.fileUuid.toString().find(uuidText) == std::string::npos) {
            continue;
        }
        ++count;
        m_isMatch[i] = true;
        for (std::size_t above = i; above != PrefabView::NONE && !m_isKept[above]; above = m_parents[above]) {
            m_isKept[above] = true;
        }
    }
    return count;
}

} // namespace Kiln::PrefabTool
