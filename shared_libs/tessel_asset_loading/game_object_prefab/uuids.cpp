#include <tessel_asset_loading/game_object_prefab.h>

#include <object_framework/link_config.h>
#include <reflection/reflected_object.h>
#include <variant/variant_converter.h>

#include <utility>

namespace Kiln::Tessel {

namespace {

using RemapTable = std::unordered_map<Uuid, Uuid>;

/// Rewrites the links whose target is in the table, at any depth.
void rewriteLinks(const mirra::ReflectedObject& object, const RemapTable& table) {
    for (std::size_t i = 0; i < object.properties(); ++i) {
        const mirra::BoundProperty property = object.propertyAt(i);
        if (ILinkConfig* const link = vessa::VariantConverter::convertTo<ILinkConfig>(property.get())) {
            if (const auto entry = table.find(link->uuid()); entry != table.end()) {
                link->setUuid(entry->second);
            }
        } else if (const mirra::ReflectedObject nested(property); nested.isValid()) {
            rewriteLinks(nested, table);
        }
    }
}

} // namespace

Uuid GameObjectPrefab::generateNewInstanceUuid(std::vector<GameObjectCreationItem>& items, UuidMap& objects,
                                               Uuid oldInstanceUuid) const {
    const Uuid newInstanceUuid = Uuid::generate();
    for (GameObjectCreationItem& item : items) {
        if (item.instanceUuid != oldInstanceUuid) {
            continue;
        }
        const Uuid oldKey = Uuid::combine(oldInstanceUuid, item.descriptor->uuid());
        const Uuid newKey = Uuid::combine(newInstanceUuid, item.descriptor->uuid());
        // If there is no entry, the item has no object yet or its entry was already moved; only its instance changes.
        if (auto entry = objects.extract(oldKey)) {
            entry.key() = newKey;
            objects.insert(std::move(entry));
        }
        item.instanceUuid = newInstanceUuid;
    }
    return newInstanceUuid;
}

void GameObjectPrefab::regenerateHierarchyUuids(const Uuid& seed) {
    RemapTable table(8);
    for (const SmartPointer<GameObjectDescriptor>& node : m_nodes) {
        table.try_emplace(node->uuid());
    }
    for (auto& [oldUuid, newUuid] : table) {
        newUuid = Uuid::combine(seed, Uuid::generate());
    }
    for (const SmartPointer<GameObjectDescriptor>& node : m_nodes) {
        // Only a descriptor that is in the list twice has a UUID that is not in the table: its new one.
        if (const auto entry = table.find(node->uuid()); entry != table.end()) {
            node->setUuid(entry->second);
        }
        for (const SmartPointer<IComponentDescriptor>& component : node->components()) {
            rewriteLinks(component->configuration(), table);
            component->storePrefabProperties();
        }
    }
}

} // namespace Kiln::Tessel
