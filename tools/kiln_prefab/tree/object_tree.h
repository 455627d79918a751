#pragma once

#include <prefab_inspection/composition/prefab_view.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace Kiln::PrefabTool {

/// The objects of a view as trees, without those that a search leaves out.
class ObjectTree {
public:
    explicit ObjectTree(const PrefabInspection::PrefabView& view);

    /// Keeps only the objects whose name or UUID contains the text, and those above them. Letters of UUIDs match in
    /// either case. Returns the number of objects that contain it.
    std::size_t keepMatches(const PrefabInspection::PrefabView& view, std::string_view text);

    /// Objects without parent, in the order of the view.
    [[nodiscard]] const std::vector<std::size_t>& tops() const noexcept { return m_tops; }
    [[nodiscard]] const std::vector<std::size_t>& children(std::size_t object) const { return m_children[object]; }

    [[nodiscard]] bool isKept(std::size_t object) const { return m_isKept[object]; }

    /// Whether the object itself contains the text of the search; true without a search.
    [[nodiscard]] bool isMatch(std::size_t object) const { return m_isMatch[object]; }

    /// Number of levels above the object.
    [[nodiscard]] std::size_t level(std::size_t object) const { return m_levels[object]; }

private:
    std::vector<std::size_t> m_parents;
    std::vector<std::vector<std::size_t>> m_children;
    std::vector<std::size_t> m_tops;
    std::vector<std::size_t> m_levels;
    std::vector<bool> m_isKept;
    std::vector<bool> m_isMatch;
};

} // namespace Kiln::PrefabTool
