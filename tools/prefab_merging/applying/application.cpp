#include "application.h"

#include "../uuid_element.h"
#include "comment_position.h"
#include "first_object.h"
#include "fragment.h"
#include "property_changes.h"

#include <common/white_space.h>
#include <prefab_inspection/documents/prefab_document.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace Kiln::PrefabMerging {

namespace {

namespace ElementName = PrefabInspection::ElementName;

constexpr std::uint32_t NONE = KeyedDocument::NONE;
constexpr std::size_t ITEM_DEPTH = 3;

/// Writes the edits for a list of new values.
class Applier {
public:
    Applier(const KeyedDocument& document, std::vector<const Place*>& failed)
        : m_document(document),
          m_text(document.text()),
          m_edits(document.text()),
          m_writer(m_text, m_edits),
          m_elements(m_text, m_writer),
          m_properties(m_text, m_elements, m_writer, m_edits),
          m_failed(failed),
          m_isRemoved(document.objects().size()),
          m_isItemRemoved(document.items().size()),
          m_itemsCounts(document.pools().size()) {}

    [[nodiscard]] std::string run(const std::vector<Assignment>& assignments,
                                  const std::vector<PlacedComment>& comments, const std::vector<Range>& removed) {
        for (const KeyedItem& item : m_document.items()) {
            ++m_itemsCounts[item.pool];
        }
        for (const Assignment& assignment : assignments) { // Indices of new objects depend on what is removed.
            if (assignment.place->kind == Place::Kind::OBJECT) {
                removeObject(assignment);
            }
        }
        addObjects(assignments);
        for (const Assignment& assignment : assignments) {
            applyOne(assignment);
        }
        m_properties.finish(m_failed);
        finishItems();
        finishPools();
        finishSections();
        for (const PlacedComment& comment : comments) {
            insertComment(comment);
        }
        m_writer.finish();
        for (const Range& range : removed) {
            m_edits.remove(range);
        }
        return m_edits.apply();
    }

private:
    // Game objects.

    /// An object that gets a new value as a whole is removed and added again.
    void removeObject(const Assignment& assignment) {
        const std::uint32_t object = m_document.findObject(*assignment.place->object);
        if (object == NONE) {
            return;
        }
        m_isRemoved[object] = true;
        m_writer.remove(m_document.objects()[object].range);
        for (const std::uint32_t item : m_document.itemsOf(object)) {
            removeItem(item);
        }
    }

    void removeItem(std::uint32_t item) {
        if (!m_isItemRemoved[item]) {
            m_isItemRemoved[item] = true;
            --m_itemsCounts[m_document.items()[item].pool];
            m_writer.remove(m_document.items()[item].range);
        }
    }

    /// New roots come first, as roots should, and other objects last, so that no index changes.
    void addObjects(const std::vector<Assignment>& assignments) {
        std::vector<std::pair<const Uuid*, Fragment>> added;
        for (const Assignment& assignment : assignments) {
            if (assignment.place->kind == Place::Kind::OBJECT && assignment.value) {
                added.emplace_back(&*assignment.place->object, Fragment(*assignment.value));
            }
        }
        const auto isRoot = [](const auto& entry) { return entry.second.isRoot(); };
        std::stable_partition(added.begin(), added.end(), isRoot);
        const auto rootsCount = static_cast<std::size_t>(std::count_if(added.begin(), added.end(), isRoot));
        m_objectsCount = rootsCount;
        m_indices.resize(m_isRemoved.size());
        for (std::size_t object = 0; object < m_isRemoved.size(); ++object) {
            m_indices[object] = m_objectsCount;
            m_objectsCount += m_isRemoved[object] ? 0 : 1;
        }
        for (std::size_t index = 0; index < added.size(); ++index) {
            addObject(*added[index].first, added[index].second, index < rootsCount ? index : m_objectsCount++);
        }
    }

    void addObject(const Uuid& uuid, const Fragment& fragment, std::size_t index) {
        m_newObjects[uuid] = index;
        const KeyedSection& section = m_document.objectsSection();
        if (!section.exists()) {
            m_newSection.append(fragment.object());
        } else if (fragment.isRoot() && !section.isEmptyElement) {
            m_writer.insertAfter(section.content.begin, objectsContainer(), fragment.object(), 2);
        } else {
            m_writer.append(objectsContainer(), fragment.object(), 2);
        }
        for (const PoolFragment& pool : fragment.pools()) {
            addItem(pool, index);
        }
    }

    [[nodiscard]] Container objectsContainer() const { return Container::of(m_document, m_document.objectsSection()); }

    /// The index that an object will have; none if it is missing.
    [[nodiscard]] std::optional<std::size_t> newIndexOf(const Uuid& uuid) const {
        if (const auto added = m_newObjects.find(uuid); added != m_newObjects.end()) {
            return added->second;
        }
        const std::uint32_t object = m_document.findObject(uuid);
        return object == NONE || m_isRemoved[object] ? std::nullopt : std::optional(m_indices[object]);
    }

    // Components.

    void addItem(const PoolFragment& fragment, std::size_t index) {
        const std::string item = withIndex(fragment.item, index);
        const std::uint32_t pool = lastPool(fragment.type);
        if (pool == NONE) {
            NewPool& added = m_newPools[fragment.type];
            added.header = added.header.empty() ? std::string(fragment.header) : added.header;
            added.items.push_back(item);
            return;
        }
        ++m_itemsCounts[pool];
        const KeyedPool& target = m_document.pools()[pool];
        const Container container = Container::of(m_document, target.section);
        if (target.itemsEnd == 0) {
            m_writer.append(container, item, ITEM_DEPTH);
        } else {
            m_writer.insertAfter(target.itemsEnd, container, item, ITEM_DEPTH);
        }
    }

    [[nodiscard]] std::uint32_t lastPool(const std::string& type) const {
        std::uint32_t last = NONE;
        for (std::uint32_t number = 0;; ++number) {
            const std::uint32_t pool = m_document.findPool(type, number);
            if (pool == NONE) {
                return last;
            }
            last = pool;
        }
    }

    // Single values.

    void applyOne(const Assignment& assignment) {
        switch (assignment.place->kind) {
        case Place::Kind::POOL:
            applyToPool(assignment);
            break;
        case Place::Kind::POOL_ELEMENT:
            applyToPoolElement(assignment);
            break;
        case Place::Kind::OBJECT_ELEMENT:
            applyToObject(assignment);
            break;
        case Place::Kind::COMPONENT:
            applyToComponent(assignment);
            break;
        case Place::Kind::COMPONENT_ELEMENT:
        case Place::Kind::PROPERTY:
            applyToItem(assignment);
            break;
        default:
            applyToDocument(assignment);
            break;
        }
    }

    void applyToDocument(const Assignment& assignment) {
        const std::string text = assignment.value ? *assignment.value : std::string();
        switch (assignment.place->kind) {
        case Place::Kind::PROLOG:
            m_edits.replace({0, m_document.rootRange().begin}, text);
            break;
        case Place::Kind::EPILOG:
            m_edits.replace({m_document.rootRange().end, m_text.size()}, text);
            break;
        case Place::Kind::ROOT_ELEMENT:
            applyToSection(assignment, m_document.root(), 1);
            break;
        case Place::Kind::OBJECTS_ELEMENT:
            applyToSection(assignment, m_document.objectsSection(), 2);
            break;
        case Place::Kind::POOLS_ELEMENT:
            applyToSection(assignment, m_document.componentsSection(), 2);
            break;
        default: // Game objects are done before, their order afterwards, and the whole file is no document.
            break;
        }
    }

    void applyToSection(const Assignment& assignment, const KeyedSection& section, std::size_t depth) {
        if (!section.exists()) {
            m_failed.push_back(assignment.place);
            return;
        }
        m_elements.set(assignment, section.elements, Container::of(m_document, section), depth);
    }

    void applyToPool(const Assignment& assignment) {
        const Place& place = *assignment.place;
        const std::uint32_t pool = m_document.findPool(place.component, place.componentNumber);
        if (assignment.value && pool == NONE) {
            const Fragment fragment(*assignment.value);
            m_newPools[place.component].header =
                fragment.pools().empty() ? std::string_view() : fragment.pools()[0].header;
        } else if (!assignment.value && pool != NONE) {
            m_unwantedPools.insert(pool);
        }
    }

    void applyToPoolElement(const Assignment& assignment) {
        const Place& place = *assignment.place;
        const std::uint32_t index = m_document.findPool(place.component, place.componentNumber);
        if (index == NONE) {
            m_failed.push_back(assignment.place);
            return;
        }
        const KeyedPool& pool = m_document.pools()[index];
        const bool isNew = assignment.value && pool.type.end != 0 &&
                           std::none_of(pool.section.elements.begin(), pool.section.elements.end(),
                                        [&place](const KeyedElement& element) {
                                            return !element.isComment() && element.name == place.element &&
                                                   element.number == place.number;
                                        });
        if (isNew && !place.element.empty()) { // Before the items.
            m_edits.insert(pool.type.end,
                           std::string(part(m_text, blankBefore(m_text, pool.type.begin))) + *assignment.value);
            return;
        }
        m_elements.set(assignment, pool.section.elements, Container::of(m_document, pool.section), ITEM_DEPTH);
    }

    void applyToObject(const Assignment& assignment) {
        const std::uint32_t object = m_document.findObject(*assignment.place->object);
        if (object == NONE || m_isRemoved[object]) {
            m_failed.push_back(assignment.place);
            return;
        }
        m_elements.setInside(assignment, m_document.objects()[object].range, 3);
    }

    void applyToComponent(const Assignment& assignment) {
        const Place& place = *assignment.place;
        const std::optional<std::size_t> index = newIndexOf(*place.object);
        const std::uint32_t object = m_document.findObject(*place.object);
        if (!index) {
            m_failed.push_back(assignment.place);
            return;
        }
        const std::uint32_t item =
            object == NONE ? NONE : m_document.findItem(object, place.component, place.componentNumber);
        if (item != NONE) {
            removeItem(item);
        }
        if (assignment.value) {
            const Fragment fragment(*assignment.value);
            for (const PoolFragment& pool : fragment.pools()) {
                addItem(pool, *index);
            }
        }
    }

    [[nodiscard]] const KeyedItem* findItem(const Place& place) const {
        const std::uint32_t object = m_document.findObject(*place.object);
        const std::uint32_t item =
            object == NONE ? NONE : m_document.findItem(object, place.component, place.componentNumber);
        return item == NONE || m_isItemRemoved[item] ? nullptr : &m_document.items()[item];
    }

    void applyToItem(const Assignment& assignment) {
        const Place& place = *assignment.place;
        const KeyedItem* const item = findItem(place);
        if (!item) {
            m_failed.push_back(assignment.place);
            return;
        }
        if (place.kind == Place::Kind::COMPONENT_ELEMENT) {
            m_elements.setInside(assignment, item->range, ITEM_DEPTH + 1);
        } else {
            m_properties.set(assignment, item->range);
        }
    }

    // Indices and pools.

    void finishItems() {
        for (std::size_t index = 0; index < m_document.items().size(); ++index) {
            const KeyedItem& item = m_document.items()[index];
            if (!m_isItemRemoved[index] && m_indices[item.object] != item.object) {
                m_edits.replace(item.index, std::to_string(m_indices[item.object]));
            }
        }
    }

    void finishPools() {
        for (const std::uint32_t pool : m_unwantedPools) {
            if (m_itemsCounts[pool] == 0) {
                m_writer.remove(m_document.pools()[pool].range);
            }
        }
        for (const auto& [type, pool] : m_newPools) {
            std::string text = "<pool>";
            text.append(trimWhiteSpace(pool.header));
            for (const std::string& item : pool.items) {
                text.append(item);
            }
            text.append("</pool>");
            if (m_document.componentsSection().exists()) {
                m_writer.append(Container::of(m_document, m_document.componentsSection()), text, 2);
            } else {
                m_newPoolsSection += text;
            }
        }
    }

    /// Adds the lists of game objects and of pools to a document that has none.
    void finishSections() {
        const Container root = Container::of(m_document, m_document.root());
        if (!m_newSection.empty()) {
            m_writer.append(root, "<gameObjects>" + m_newSection + "</gameObjects>", 1);
        }
        if (!m_newPoolsSection.empty()) {
            m_writer.append(root, "<components>" + m_newPoolsSection + "</components>", 1);
        }
    }

    // Comments.

    void insertComment(const PlacedComment& comment) {
        const std::optional<std::size_t> position = positionFor(*comment.place, m_document);
        if (position) {
            m_edits.insert(*position, comment.text + std::string(part(m_text, blankBefore(m_text, *position))));
        } else if (m_document.objectsSection().exists() && !m_document.objectsSection().isEmptyElement) {
            m_writer.append(objectsContainer(), comment.text, 2);
        } else {
            m_edits.insert(m_text.size(), comment.text);
        }
    }

    struct NewPool {
        std::string header;
        std::vector<std::string> items;
    };

    const KeyedDocument& m_document;
    std::string_view m_text;
    Edits m_edits;
    ElementWriter m_writer;
    ElementChanges m_elements;
    PropertyChanges m_properties;
    std::vector<const Place*>& m_failed;
    std::vector<bool> m_isRemoved;
    std::vector<bool> m_isItemRemoved;
    std::vector<std::size_t> m_itemsCounts; ///< Of each pool.
    std::vector<std::size_t> m_indices;     ///< New index of each object.
    std::size_t m_objectsCount = 0;
    std::map<Uuid, std::size_t> m_newObjects;
    std::map<std::string, NewPool> m_newPools;
    std::set<std::uint32_t> m_unwantedPools;
    std::string m_newPoolsSection;
    std::string m_newSection; ///< Game objects for a document without list of them.
};

} // namespace

Application apply(const KeyedDocument& document, const std::vector<Assignment>& assignments,
                  const std::vector<PlacedComment>& comments, const std::vector<Range>& removed) {
    Application application;
    application.text = Applier(document, application.failed).run(assignments, comments, removed);
    for (const Assignment& assignment : assignments) {
        if (assignment.place->kind != Place::Kind::FIRST_OBJECT || !assignment.value) {
            continue;
        }
        const std::optional<Uuid> uuid = uuidOfElement(*assignment.value);
        std::optional<std::string> text = uuid ? withFirstObject(application.text, *uuid) : std::nullopt;
        if (text) {
            application.text = std::move(*text);
        } else {
            application.failed.push_back(assignment.place);
        }
    }
    return application;
}

} // namespace Kiln::PrefabMerging
