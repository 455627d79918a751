#pragma once

#include "element_changes.h"
#include "override_changes.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabMerging {

/// Sets and removes properties of components, also inside of their override data.
class PropertyChanges {
public:
    PropertyChanges(std::string_view text, ElementChanges& elements, ElementWriter& writer, Edits& edits)
        : m_text(text), m_elements(elements), m_writer(writer), m_edits(edits) {}

    /// Changes a property of the item with that range. What is inside of override data, and the properties of an item
    /// without any, are written by finish().
    void set(const Assignment& assignment, Range item);

    /// Writes the changes that have gathered. Adds the places of those that are not possible to `failed`.
    void finish(std::vector<const Place*>& failed);

private:
    struct ChangedOverrides {
        Range element; ///< The property.
        std::vector<OverrideChange> changes;
        std::vector<const Place*> places;
    };
    struct NewProperties {
        Range item;
        std::string elements;
    };

    std::string_view m_text;
    ElementChanges& m_elements;
    ElementWriter& m_writer;
    Edits& m_edits;
    std::map<std::size_t, ChangedOverrides> m_overrides;  ///< By the begin of the property.
    std::map<std::size_t, NewProperties> m_newProperties; ///< Of items without `properties`, by their begin.
    std::vector<const Place*> m_missing;                  ///< There is no such property.
};

} // namespace Kiln::PrefabMerging
