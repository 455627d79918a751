#include "floor.h"

namespace Kiln::Benchmarks {

/// One object to create.
struct FloorWorld::Item {
    const Node* placed;  ///< Name, transform and parent.
    const Node* content; ///< UUID and cargo: the same node, or the root of the prefab that it nests.
    Uuid instanceUuid;   ///< Of `content`.
    Uuid parentUuid;     ///< Of the live parent; zero for the root.
    std::size_t parentItem;
};

std::vector<FloorWorld::Item> FloorWorld::gather(const Workload& workload, const Uuid& instanceUuid) {
    const Nodes& nodes = workload.nodes;
    const Nodes& nested = workload.nested;
    std::vector<Item> items;
    items.reserve(nodes.size());
    for (const Node& node : nodes) {
        const Uuid parentUuid =
            node.parent == Node::NO_PARENT ? Uuid::ZERO : Uuid::combine(instanceUuid, nodes[node.parent].uuid);
        if (node.nested.empty()) {
            items.push_back({&node, &node, instanceUuid, parentUuid, node.parent});
            continue;
        }
        const Uuid nestedUuid = Uuid::combine(instanceUuid, node.uuid);
        const std::size_t first = items.size();
        items.push_back({&node, &nested.front(), nestedUuid, parentUuid, node.parent});
        for (std::size_t i = 1; i < nested.size(); ++i) {
            const Node& inner = nested[i];
            items.push_back({&inner, &inner, nestedUuid, Uuid::combine(nestedUuid, nested[inner.parent].uuid),
                             first + inner.parent});
        }
    }
    return items;
}

Tessel::GameObject FloorWorld::createObject() {
    m_objects.create();
    return {1, static_cast<std::uint32_t>(m_objects.size() - 1), 0};
}

void FloorWorld::describe(FloorObject& object, const Uuid& uuid, const Item& item) {
    object.uuid = uuid;
    object.name = item.placed->name;
}

void FloorWorld::attach(std::uint32_t child, Tessel::GameObject parent) {
    FloorObject& object = m_objects.at(child);
    object.add(m_hierarchies.create(parent));
    FloorObject& itsParent = m_objects.at(parent.index());
    object.parent = parent.index();
    (itsParent.lastChild == FloorObject::NONE ? itsParent.firstChild : m_objects.at(itsParent.lastChild).nextSibling) =
        child;
    itsParent.lastChild = child;
}

void FloorWorld::addComponents(FloorObject& object, const Item& item) {
    object.add(m_transforms.create(item.placed->local));
    if (!item.placed->nested.empty()) {
        object.add(m_references.create(item.placed->nested, Uuid::ZERO));
    }
    object.add(m_cargoes.create(item.content->label, item.content->mass, item.content->volume));
    object.flags = 0;
}

void FloorWorld::nameFile(FloorObject& root, const Workload& workload, const Uuid& instanceUuid) {
    root.add(m_references.create(workload.path, instanceUuid));
}

void FloorWorld::activate(std::uint32_t root) {
    for (std::uint32_t index = root;;) {
        FloorObject& object = m_objects.at(index);
        object.isActive = true;
        for (std::size_t i = 0; i < object.componentsCount; ++i) {
            object.components[i]->activate();
        }
        if (object.firstChild != FloorObject::NONE) {
            index = object.firstChild;
            continue;
        }
        while (index != root && m_objects.at(index).nextSibling == FloorObject::NONE) {
            index = m_objects.at(index).parent;
        }
        if (index == root) {
            return;
        }
        index = m_objects.at(index).nextSibling;
    }
}

Tessel::GameObject FloorWorld::createPlain(const Workload& workload, const Uuid& instanceUuid) {
    const std::vector<Item> items = gather(workload, instanceUuid);
    Map uuidMap;
    Map objects;
    for (const Item& item : items) {
        const Uuid uuid = Uuid::combine(item.instanceUuid, item.content->uuid);
        const auto known = uuidMap.find(uuid);
        objects.try_emplace(uuid, known != uuidMap.end() ? known->second : createObject());
    }
    uuidMap.insert(objects.begin(), objects.end());

    for (const Item& item : items) {
        const Uuid uuid = Uuid::combine(item.instanceUuid, item.content->uuid);
        const Tessel::GameObject handle = uuidMap.at(uuid);
        FloorObject& object = m_objects.at(handle.index());
        describe(object, uuid, item);
        if (item.parentItem != Node::NO_PARENT) {
            attach(handle.index(), uuidMap.find(item.parentUuid)->second);
        }
        addComponents(object, item);
    }
    const Tessel::GameObject root = uuidMap.at(Uuid::combine(instanceUuid, workload.nodes.front().uuid));
    nameFile(m_objects.at(root.index()), workload, instanceUuid);
    activate(root.index());
    return root;
}

Tessel::GameObject FloorWorld::createBest(const Workload& workload, const Uuid& instanceUuid) {
    const std::vector<Item> items = gather(workload, instanceUuid);
    const auto first = static_cast<std::uint32_t>(m_objects.size());
    Map uuidMap;
    Map objects;
    std::vector<Uuid> uuids;
    uuids.reserve(items.size());
    for (const Item& item : items) {
        uuids.push_back(Uuid::combine(item.instanceUuid, item.content->uuid));
    }
    std::uint32_t index = first;
    for (const Uuid& uuid : uuids) {
        objects.try_emplace(uuid, Tessel::GameObject(1, index++, 0));
    }
    uuidMap.merge(objects);

    for (std::size_t i = 0; i < items.size(); ++i) {
        FloorObject& object = m_objects.create();
        describe(object, uuids[i], items[i]);
        if (items[i].parentItem != Node::NO_PARENT) {
            attach(first + static_cast<std::uint32_t>(i),
                   Tessel::GameObject(1, first + static_cast<std::uint32_t>(items[i].parentItem), 0));
        }
        addComponents(object, items[i]);
    }
    nameFile(m_objects.at(first), workload, instanceUuid);
    activate(first);
    return {1, first, 0};
}

} // namespace Kiln::Benchmarks
