#include "override_changes.h"

#include "../override_text.h"
#include "../override_tree.h"
#include "edits.h"

#include <common/white_space.h>

#include <cstddef>
#include <map>
#include <string_view>
#include <utility>

namespace Kiln::PrefabMerging {

namespace {

[[nodiscard]] std::string componentElement(const std::string& type, const std::string& properties) {
    std::string text = "<component><type>";
    return text.append(escapedText(type))
        .append("</type><properties>")
        .append(properties)
        .append("</properties></component>");
}

/// New properties of one object: elements by component type.
using NewComponents = std::map<std::string, std::string>;

[[nodiscard]] std::string componentElements(const NewComponents& components) {
    std::string text;
    for (const auto& [type, properties] : components) {
        text.append(componentElement(type, properties));
    }
    return text;
}

/// New properties by object.
[[nodiscard]] std::string recordElements(const std::map<std::string, NewComponents>& objects) {
    std::string text;
    for (const auto& [uuid, components] : objects) {
        text.append("<gameObject><uuid>").append(uuid).append("</uuid>");
        text.append(componentElements(components)).append("</gameObject>");
    }
    return text;
}

/// New elements of properties; none to remove them.
using NewProperties = std::map<OverrideKey, std::optional<std::string>>;

/// Writes new values of properties into an override text.
class OverrideWriter {
public:
    explicit OverrideWriter(const std::string& text) : m_text(text), m_overrides(text), m_edits(text) {}

    [[nodiscard]] std::string write(const NewProperties& values) {
        for (const OverrideTree::Property& property : m_overrides.properties()) {
            m_properties.emplace(property.key, &property);
            m_objects.emplace(property.key.object, property.object);
            m_components.emplace(std::pair(property.key.object, property.key.component), property);
            ++m_sizes[property.object];
            ++m_sizes[property.component];
        }
        std::vector<const OverrideTree::Property*> removed;
        for (const auto& [key, value] : values) {
            const auto found = m_properties.find(key);
            if (found != m_properties.end() && value) {
                m_edits.replace(found->second->element->range, *value);
            } else if (found != m_properties.end()) {
                removed.push_back(found->second);
                --m_sizes[found->second->object];
                --m_sizes[found->second->component];
            } else if (value) {
                add(key, *value);
            }
        }
        for (const OverrideTree::Property* const property : removed) {
            remove(*property);
        }
        addChildren(m_overrides.root(), recordElements(m_newRecords));
        for (const auto& [object, components] : m_newComponents) {
            addChildren(*object, componentElements(components));
        }
        for (const auto& [properties, elements] : m_newElements) {
            addChildren(*properties, elements);
        }
        return m_edits.apply();
    }

private:
    void add(const OverrideKey& key, const std::string& value) {
        const auto component = m_components.find(std::pair(key.object, key.component));
        const auto object = m_objects.find(key.object);
        if (component != m_components.end()) {
            m_newElements[component->second.properties] += value;
            ++m_sizes[component->second.component];
            ++m_sizes[component->second.object];
        } else if (object != m_objects.end()) {
            m_newComponents[object->second][key.component] += value;
            ++m_sizes[object->second];
        } else {
            m_newRecords[key.object][key.component] += value;
        }
    }

    /// Removes a property, with its component and its object if they have no other one.
    void remove(const OverrideTree::Property& property) {
        const MarkupNode* const node = m_sizes[property.object] == 0      ? property.object
                                       : m_sizes[property.component] == 0 ? property.component
                                                                          : property.element;
        m_edits.remove({blankBefore(m_text, node->range.begin).begin, node->range.end});
    }

    /// Inserts elements at the end of a container.
    void addChildren(const MarkupNode& parent, const std::string& elements) {
        if (elements.empty()) {
            return;
        }
        if (parent.isEmptyElement) {
            std::string element = "<";
            element.append(parent.name).append(">").append(elements).append("</").append(parent.name).append(">");
            m_edits.replace(parent.range, std::move(element));
            return;
        }
        const std::vector<std::uint32_t> children = m_overrides.tree().children(parent);
        if (children.empty()) {
            m_edits.replace(parent.content, elements);
            return;
        }
        const MarkupNode& last = m_overrides.tree().node(children.back());
        const std::string_view blank = part(m_text, blankBefore(m_text, last.range.begin));
        const MarkupTree added(elements);
        for (const std::uint32_t top : added.tops()) {
            m_edits.insert(last.range.end, std::string(blank).append(added.raw(added.node(top))));
        }
    }

    const std::string& m_text;
    OverrideTree m_overrides;
    Edits m_edits;
    std::map<OverrideKey, const OverrideTree::Property*> m_properties;
    std::map<std::string, const MarkupNode*> m_objects; ///< The first record of each object.
    std::map<std::pair<std::string, std::string>, OverrideTree::Property> m_components; ///< The first of each type.
    std::map<const MarkupNode*, std::size_t> m_sizes; ///< How many properties objects and components will have.
    std::map<std::string, NewComponents> m_newRecords;
    std::map<const MarkupNode*, NewComponents> m_newComponents; ///< Of objects that have a record.
    std::map<const MarkupNode*, std::string> m_newElements;     ///< Of the elements `properties`.
};

[[nodiscard]] std::string withProperties(const std::string& text, const NewProperties& values) {
    if (!trimWhiteSpace(text).empty()) {
        return OverrideWriter(text).write(values);
    }
    std::map<std::string, NewComponents> records;
    for (const auto& [key, value] : values) {
        if (value) {
            records[key.object][key.component] += *value;
        }
    }
    return records.empty() ? text : "<overrides>" + recordElements(records) + "</overrides>";
}

} // namespace

std::optional<std::string> withOverrides(const std::string& text, const std::vector<OverrideChange>& changes) {
    const std::optional<KeyedOverrides> overrides = readOverrides(text);
    if (!overrides) {
        return std::nullopt;
    }
    NewProperties values;
    std::map<OverrideKey, std::vector<OverrideChange>> inner;
    for (const OverrideChange& change : changes) {
        if (change.path.empty()) {
            return std::nullopt;
        }
        if (change.path.size() > 1) {
            inner[change.path.front()].push_back({change.path.subspan(1), change.value});
        } else {
            values[change.path.front()] = change.value ? std::optional(*change.value) : std::nullopt;
        }
    }
    for (const auto& [key, innerChanges] : inner) {
        const auto present = overrides->properties.find(key);
        const std::string element =
            present == overrides->properties.end() ? "<" + key.property + "></" + key.property + ">" : present->second;
        const std::optional<std::string> innerText = withOverrides(overrideTextOf(element), innerChanges);
        if (!innerText) {
            return std::nullopt;
        }
        values[key] = withOverrideText(element, *innerText);
    }
    return withProperties(text, values);
}

} // namespace Kiln::PrefabMerging
