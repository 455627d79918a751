#include <prefab_inspection/composition/object_trees.h>

#include <numeric>

namespace Kiln::PrefabInspection {

ObjectTrees::ObjectTrees(std::size_t count) : m_up(count) {
    std::iota(m_up.begin(), m_up.end(), std::size_t{0});
}

std::size_t ObjectTrees::top(std::size_t object) {
    while (m_up[object] != object) {
        m_up[object] = m_up[m_up[object]];
        object = m_up[object];
    }
    return object;
}

bool ObjectTrees::attach(std::size_t object, std::size_t parent) {
    const std::size_t parentTop = top(parent);
    if (parentTop == object) {
        return false;
    }
    m_up[object] = parentTop;
    return true;
}

} // namespace Kiln::PrefabInspection
