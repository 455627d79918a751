#include "property_changes.h"

#include "../override_text.h"

#include <prefab_inspection/documents/prefab_document.h>

#include <utility>

namespace Kiln::PrefabMerging {

namespace {

namespace ElementName = PrefabInspection::ElementName;

constexpr std::size_t ITEM_DEPTH = 4;

} // namespace

void PropertyChanges::set(const Assignment& assignment, Range item) {
    const Place& place = *assignment.place;
    const std::optional<Range> properties = m_elements.childOf(item, ElementName::PROPERTIES);
    if (place.overrides.empty()) {
        if (properties) {
            m_elements.setInside(assignment, *properties, ITEM_DEPTH + 1);
        } else if (assignment.value) {
            NewProperties& added = m_newProperties[item.begin];
            added.item = item;
            added.elements += *assignment.value;
        }
        return;
    }
    const std::optional<Range> element = properties ? m_elements.find(place, *properties) : std::nullopt;
    if (!element) {
        m_missing.push_back(&place);
        return;
    }
    ChangedOverrides& changed = m_overrides[element->begin];
    changed.element = *element;
    changed.changes.push_back({place.overrides, assignment.value});
    changed.places.push_back(&place);
}

void PropertyChanges::finish(std::vector<const Place*>& failed) {
    failed.insert(failed.end(), m_missing.begin(), m_missing.end());
    for (const auto& [begin, changed] : m_overrides) {
        const std::string element(part(m_text, changed.element));
        if (const std::optional<std::string> text = withOverrides(overrideTextOf(element), changed.changes)) {
            m_edits.replace(changed.element, withOverrideText(element, *text));
        } else {
            failed.insert(failed.end(), changed.places.begin(), changed.places.end());
        }
    }
    for (const auto& [begin, added] : m_newProperties) {
        m_writer.append(m_elements.containerOf(added.item), "<properties>" + added.elements + "</properties>",
                        ITEM_DEPTH);
    }
}

} // namespace Kiln::PrefabMerging
