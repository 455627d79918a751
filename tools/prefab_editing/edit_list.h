#pragma once

#include <prefab_editing/text_edits.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::PrefabEditing {

/// Collects changes of a text that are made in any order. Insertions at one offset keep the order in which they were
/// added.
class EditList {
public:
    void replace(std::size_t begin, std::size_t end, std::string text) {
        m_edits.push_back({begin, end - begin, std::move(text)});
    }
    void insert(std::size_t offset, std::string text) { replace(offset, offset, std::move(text)); }

    /// The changes, sorted; those that touch are joined. None of them may overlap.
    [[nodiscard]] std::vector<TextEdit> take();

private:
    std::vector<TextEdit> m_edits;
};

} // namespace Kiln::PrefabEditing
