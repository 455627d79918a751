#include <tessel_asset_loading/game_object_prefab.h>

#include <object_framework/hierarchy_component.h>
#include <tessel_asset_loading/reporting/messages.h>

#include <algorithm>
#include <utility>

namespace Kiln::Tessel {

namespace {

[[nodiscard]] bool isRoot(const GameObjectDescriptor& descriptor) {
    return !descriptor.hasComponent(NativeComponent<HierarchyComponent>::getType());
}

} // namespace

GameObjectPrefab::GameObjectPrefab() = default;
GameObjectPrefab::GameObjectPrefab(const GameObjectPrefab& other) = default;
GameObjectPrefab& GameObjectPrefab::operator=(const GameObjectPrefab& other) = default;
GameObjectPrefab::GameObjectPrefab(GameObjectPrefab&& other) noexcept : m_nodes(std::exchange(other.m_nodes, {})) {}
GameObjectPrefab::~GameObjectPrefab() = default;

GameObjectPrefab& GameObjectPrefab::operator=(GameObjectPrefab&& other) noexcept {
    if (this != &other) {
        m_nodes.clear(); // The old nodes are released before the new ones are taken over.
        m_nodes = std::exchange(other.m_nodes, {});
    }
    return *this;
}

void GameObjectPrefab::addGameObject(SmartPointer<GameObjectDescriptor> descriptor) {
    if (!descriptor) {
        detail::Report::error("Cannot create Game Objects hierarchy node. Game object descriptor is nullptr.");
        return;
    }
    m_nodes.push_back(std::move(descriptor));
}

void GameObjectPrefab::removeGameObject(SmartPointer<GameObjectDescriptor> descriptor) {
    const auto node = std::find(m_nodes.begin(), m_nodes.end(), descriptor);
    if (node == m_nodes.end()) {
        detail::Report::error("Cannot remove game object from hierarchy. Corresponding hierarchy node not found.");
        return;
    }
    m_nodes.erase(node);
}

SmartPointer<GameObjectDescriptor> GameObjectPrefab::getGameObject(std::size_t id) const {
    if (id >= m_nodes.size()) {
        detail::Report::invalidNodeIndex(id, m_nodes.size());
        return nullptr;
    }
    return m_nodes[id];
}

std::size_t GameObjectPrefab::parentNodeId(std::size_t id) const {
    if (id >= m_nodes.size()) {
        detail::Report::invalidNodeIndex(id, m_nodes.size());
        return INVALID_NODE_ID;
    }
    const GameObjectLink* const link = m_nodes[id]->parentLink();
    if (!link) {
        return INVALID_NODE_ID;
    }
    const Uuid& parentUuid = link->uuid();
    const auto parent = std::find_if(m_nodes.begin(), m_nodes.end(),
                                     [&parentUuid](const auto& node) { return node->uuid() == parentUuid; });
    if (parent == m_nodes.end()) {
        detail::Report::error("Failed to find parent node for game object with non-zero parent UID");
        return INVALID_NODE_ID;
    }
    return static_cast<std::size_t>(parent - m_nodes.begin());
}

bool GameObjectPrefab::isRootNode(std::size_t id) const {
    if (id >= m_nodes.size()) {
        // Not Report::invalidNodeIndex: the bracket is missing here on purpose.
        detail::Report::error("Invalid Game Object Hierarchy node index. [%lu >= [%lu]", id, m_nodes.size());
        return false;
    }
    return isRoot(*m_nodes[id]);
}

std::size_t GameObjectPrefab::countComponentsByType(ComponentTypeId type) const {
    return static_cast<std::size_t>(
        std::count_if(m_nodes.begin(), m_nodes.end(), [type](const auto& node) { return node->hasComponent(type); }));
}

SmartPointer<GameObjectDescriptor> GameObjectPrefab::findRootGameObject() const {
    const SmartPointer<GameObjectDescriptor>* const root = findRoot();
    return root ? *root : nullptr;
}

const SmartPointer<GameObjectDescriptor>* GameObjectPrefab::findRoot() const {
    const auto root = std::find_if(m_nodes.begin(), m_nodes.end(), [](const auto& node) { return isRoot(*node); });
    return root == m_nodes.end() ? nullptr : &*root;
}

void GameObjectPrefab::clear() {
    for (SmartPointer<GameObjectDescriptor>& node : m_nodes) {
        node.reset();
    }
    m_nodes.clear();
}

} // namespace Kiln::Tessel
