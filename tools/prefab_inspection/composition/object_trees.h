#pragma once

#include <prefab_inspection/export.h>

#include <cstddef>
#include <vector>

namespace Kiln::PrefabInspection {

/// The trees that objects form while they get parents one after the other. An object that would become its own ancestor
/// is not attached, as in the loader.
class KILN_PREFAB_INSPECTION_EXPORT ObjectTrees {
public:
    explicit ObjectTrees(std::size_t count);

    /// Attaches an object, which has no parent yet. False if the parent is the object or one of its descendants.
    [[nodiscard]] bool attach(std::size_t object, std::size_t parent);

private:
    [[nodiscard]] std::size_t top(std::size_t object);

    std::vector<std::size_t> m_up; ///< An ancestor of each object; the object itself for the top of a tree.
};

} // namespace Kiln::PrefabInspection
