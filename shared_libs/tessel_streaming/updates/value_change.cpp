#include <tessel_streaming/updates/value_change.h>

#include <generic_components/transform_component.h>
#include <object_framework/game_object_manager.h>
#include <tessel_asset_loading/loading/root_placing.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_component/service/root_finishing.h>
#include <tessel_streaming/updates/instance_links.h>
#include <tessel_streaming/updates/object_editor.h>
#include <tessel_streaming/updates/override_comparison.h>

#include <algorithm>
#include <optional>

namespace Kiln::Tessel::Streaming::detail {

namespace {

/// The update of one instance.
class ValueUpdate : NonCopyable {
public:
    ValueUpdate(const Followed& instance, bool haveLinks) noexcept
        : m_instance(instance), m_haveLinks(haveLinks), m_editor(instance.path, instance.worldId) {}

    /// Returns whether the object exists and was changed.
    bool apply(std::size_t index, const NodeChange& change);

    void finish() {
        if (m_isTransformReplaced) {
            finishRoot(m_instance, true, false);
        }
    }

private:
    void replaceComponents(std::size_t index, const NodeChange& change);
    void setTargets();

    const Followed& m_instance;
    bool m_haveLinks;
    ObjectEditor m_editor;
    std::optional<InstanceLinks> m_links; ///< For changed components with links.
    bool m_isTransformReplaced = false;   ///< Of the root.
};

bool ValueUpdate::apply(std::size_t index, const NodeChange& change) {
    const GameObject object = m_instance.objects[index];
    GameObjectManager* const manager = getGameObjectManager(object);
    if (!change.affectsObjects() || !manager || !manager->isGameObjectValid(object)) {
        return false;
    }
    if (change.isRenamed) {
        manager->setGameObjectName(object, change.newer->name());
    }
    if (change.areFlagsChanged) {
        m_editor.setFlags(object, change.newer->flags());
    }
    replaceComponents(index, change);
    return true;
}

void ValueUpdate::replaceComponents(std::size_t index, const NodeChange& change) {
    if (m_haveLinks) {
        setTargets();
    }
    const GameObject object = m_instance.objects[index];
    const GameObjectPrefab::GameObjectCreationItem& item = m_instance.items[index];
    const GameObjectOverrideRecords* const overrides =
        m_instance.hasOverrides ? findOverrides(item, index == 0) : nullptr;
    for (const ComponentChange& component : change.components) {
        if (!m_editor.remove(object, component.type)) {
            return;
        }
        if (component.newer) {
            m_editor.add(object, *component.newer, item.instanceUuid,
                         overrides ? overrides->find(component.newer->name()) : nullptr);
        }
        m_isTransformReplaced =
            m_isTransformReplaced || (object == m_instance.root && component.newer &&
                                      component.type == NativeComponent<TransformComponent>::getType());
    }
}

void ValueUpdate::setTargets() {
    if (m_links) {
        return;
    }
    m_links.emplace();
    for (std::size_t i = 0; i < m_instance.items.size(); ++i) {
        static_cast<void>(m_links->add(m_instance.items[i], m_instance.uuids[i], m_instance.objects[i]));
    }
    m_editor.setTargets(&m_links->objects(), &m_links->nestedRoots());
}

} // namespace

void NodeChanges::add(const NodeChange& change) {
    m_changes.push_back(&change);
    m_index.try_emplace(change.older.get(), &change);
    m_haveLinks =
        m_haveLinks || std::any_of(change.components.begin(), change.components.end(),
                                   [](const ComponentChange& part) { return part.newer && part.newer->hasLinks(); });
}

ItemChanges replaceDescriptors(InstanceShape& shape, const NodeChanges& changes) {
    ItemChanges items;
    for (std::size_t i = 0; i < shape.descriptors.size(); ++i) {
        if (const NodeChange* const change = changes.find(shape.descriptors[i].get())) {
            shape.descriptors[i] = change->newer;
            items.push_back({i, change});
        }
    }
    return items;
}

ItemChanges replaceDescriptors(FollowedInstance& instance, const NodeChanges& changes) {
    ItemChanges items;
    for (std::size_t i = 0; i < instance.items.size(); ++i) {
        if (const NodeChange* const change = changes.find(instance.items[i].descriptor.get())) {
            instance.items[i].descriptor = change->newer;
            items.push_back({i, change});
        }
    }
    return items;
}

void applyValues(const Followed& instance, const ItemChanges& items, bool haveLinks, std::vector<GameObject>* changed) {
    ValueUpdate update(instance, haveLinks);
    for (const ItemChange& item : items) {
        if (update.apply(item.item, *item.change) && changed) {
            changed->push_back(instance.objects[item.item]);
        }
    }
    update.finish();
}

void finishRoot(const FollowedInstance& instance, bool isTransformReplaced, bool isPrefabComponentReplaced) {
    GameObjectManager* const manager = getGameObjectManager(instance.root);
    if (!manager || !manager->isGameObjectValid(instance.root)) {
        return;
    }
    if (isPrefabComponentReplaced) {
        Tessel::detail::stampRoot(*manager, instance.root, instance.instanceUuid);
    }
    if (isTransformReplaced && instance.placement) {
        Tessel::detail::placeRoot(instance.root, *instance.placement, *manager);
    }
}

} // namespace Kiln::Tessel::Streaming::detail
