#pragma once

#include <common/uuid.h>
#include <core/smart_pointer.h>
#include <object_framework/game_object.h>
#include <object_serialization/deseriralize_error_handler.h>
#include <object_serialization/game_object_descriptor.h>
#include <object_serialization/override_records.h>
#include <resource/data_section.h>
#include <tessel_asset_loading/export.h>
#include <tessel_foundation/component.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Kiln::Tessel {

namespace detail {
class InstanceCreation;
class InstanceGathering;
} // namespace detail

/// A prefab document: the ordered list of the game-object descriptors that a prefab file describes. Each descriptor is
/// one node; its id is its index in the list. The hierarchy is not stored but follows from the descriptors: a node
/// without HierarchyComponent is a root; every other node names its parent by UUID. A valid prefab has exactly one
/// root.
///
/// Not for: finding and keeping prefabs by path (PrefabService), or waiting for them (Loading).
/// Ownership: the list shares its descriptors; copies of a prefab share them too, so that a change of a descriptor
/// shows in every copy.
/// Threads: const queries may run concurrently; every change needs exclusive access. Objects are created on the main
/// thread; this leaves the document unchanged, but no other thread may create from it or serialize it meanwhile.
/// Failure: reported to the caller's error handler or the engine log; the operation then yields its neutral value.
///
///     std::unique_ptr<GameObjectPrefab> prefab = GameObjectPrefab::loadHierarchy("props/lamp.prefab", nullptr);
class KILN_TESSEL_ASSET_LOADING_EXPORT GameObjectPrefab {
public:
    /// An id that no node has; for example, the parent of a root.
    static constexpr std::size_t INVALID_NODE_ID = std::numeric_limits<std::size_t>::max();

    /// Nested prefabs are loaded and created to this depth below the top prefab.
    static constexpr int MAX_NESTING_DEPTH = 5;

    /// The arguments and the UUID map of createGameObjects().
    struct CreateConfig {
        int worldId = -1;                        ///< The world that gets the objects.
        Uuid instanceUuid;                       ///< A top-level object's UUID is combine(this, descriptor's UUID).
        SmartPointer<OverrideRecords> overrides; ///< Overrides of the instance; may be null.

        /// In: existing objects to reuse for their UUIDs. Out: also every UUID and object of the instance.
        std::unordered_map<Uuid, GameObject> uuidMap;
    };

    /// One game object to be created.
    struct GameObjectCreationItem {
        SmartPointer<GameObjectDescriptor> descriptor; ///< Describes the object.
        Uuid instanceUuid;                             ///< Of the prefab instance that the object belongs to.
        SmartPointer<OverrideRecords> overrides;       ///< Overrides that apply to that instance; may be null.
    };

    GameObjectPrefab();
    /// @{
    /// Copies share the descriptors.
    GameObjectPrefab(const GameObjectPrefab& other);
    GameObjectPrefab& operator=(const GameObjectPrefab& other);
    GameObjectPrefab(GameObjectPrefab&& other) noexcept;
    GameObjectPrefab& operator=(GameObjectPrefab&& other) noexcept;
    /// @}
    ~GameObjectPrefab();

    // The list of nodes.

    /// Appends a node. Null is refused; duplicates are not.
    void addGameObject(SmartPointer<GameObjectDescriptor> descriptor);

    /// Removes the first node that holds this exact descriptor; later nodes move up.
    void removeGameObject(SmartPointer<GameObjectDescriptor> descriptor);

    /// Null for an id out of range.
    [[nodiscard]] SmartPointer<GameObjectDescriptor> getGameObject(std::size_t id) const;

    /// The first node that has the UUID of the node's parent. INVALID_NODE_ID for a root, when no node has that UUID,
    /// and for an id out of range; the last two are reported.
    [[nodiscard]] std::size_t parentNodeId(std::size_t id) const;

    /// False for an id out of range.
    [[nodiscard]] bool isRootNode(std::size_t id) const;

    /// @{
    /// Number of nodes, and whether there are none.
    [[nodiscard]] std::size_t nodesCount() const { return m_nodes.size(); }
    [[nodiscard]] bool isEmpty() const { return m_nodes.empty(); }
    /// @}

    /// Number of nodes that have a component of that type.
    [[nodiscard]] std::size_t countComponentsByType(ComponentTypeId type) const;

    /// The first root; null when there is none.
    [[nodiscard]] SmartPointer<GameObjectDescriptor> findRootGameObject() const;

    /// Removes every node and keeps the list's storage.
    void clear();

    // Reading and writing.

    /// Appends the nodes of a stored document; a null section counts as one of format version 0. Problems go to the
    /// handler, or to the log when it is null. Only a wrong format version and missing game objects end reading; any
    /// other problem skips the smallest unit.
    void deserialize(const SmartPointer<DataSection>& section, DeseriralizeErrorHandler* handler);

    /// Writes the document into an empty section and stores the written values as the prefab's own. A null section is
    /// reported to the log, and nothing is stored.
    void serialize(SmartPointer<DataSection> section) const;

    /// Reads a file and stores the path in the PrefabComponent of its root, which is added when it is missing. Null
    /// only when the file can't be opened. Any thread.
    [[nodiscard]] static std::unique_ptr<GameObjectPrefab> loadHierarchy(const std::string& path,
                                                                         DeseriralizeErrorHandler* handler);

    /// Reads a section; never null, empty after a fatal problem. Any thread, while nobody changes the section.
    [[nodiscard]] static std::unique_ptr<GameObjectPrefab> loadHierarchy(SmartPointer<DataSection> section,
                                                                         DeseriralizeErrorHandler* handler);

    // Nested prefabs; one level deep.

    /// `resource` of every node's PrefabComponent in node order, including empty and repeated ones. A prefab that was
    /// loaded by path lists its own path too, since its root names it.
    [[nodiscard]] std::vector<std::string> getNestedPrefabs() const;

    /// The same for a document that is not loaded: in item order, without the empty ones.
    [[nodiscard]] static std::vector<std::string> getNestedPrefabs(SmartPointer<DataSection> document);

    /// Whether a file has a pool of prefab components; false when it can't be opened.
    [[nodiscard]] static bool hasNestedPrefabs(const std::string& path);

    /// Lets the component descriptors of every node preload their data; after a node that nests a prefab, does the same
    /// for the nested prefab. `depth` is 0 for the top prefab. Worker threads.
    void backgroundLoad(int depth) const;

    // Live objects.

    /// Creates the prefab's objects and those of its nested prefabs in a world: all objects first, then their
    /// components and state flags. No object is activated. Returns the root first and the others in the order of their
    /// creation. On failure nothing remains in the world and the result is just INVALID_GAME_OBJECT; an exception that
    /// a component throws also leaves nothing behind.
    [[nodiscard]] std::vector<GameObject> createGameObjects(CreateConfig& config) const;

    /// Gives every node a new UUID, derived from `seed` and a random UUID, and rewrites the links between the nodes.
    /// This changes the shared descriptors, and so every copy of the prefab.
    void regenerateHierarchyUuids(const Uuid& seed);

private:
    friend class detail::InstanceCreation;
    friend class detail::InstanceGathering;

    /// The first root; null when there is none.
    [[nodiscard]] const SmartPointer<GameObjectDescriptor>* findRoot() const;

    // The stages of createGameObjects(), each run to completion, and parts of them. InstanceCreation runs the stages in
    // steps.
    [[nodiscard]] bool gatherGameObjectsRecursively(std::vector<GameObjectCreationItem>& items,
                                                    const Uuid& instanceUuid, SmartPointer<OverrideRecords> overrides,
                                                    bool skipRoots, int depth) const;
    [[nodiscard]] SmartPointer<GameObjectDescriptor>
    mergePrefabIntoIntegrationPoint(const GameObjectPrefab* nested,
                                    SmartPointer<GameObjectDescriptor> integrationPoint) const;
    [[nodiscard]] bool createGoInstances(std::vector<GameObjectCreationItem>& items, int worldId,
                                         std::vector<GameObject>& created,
                                         std::unordered_map<Uuid, GameObject>& uuidMap) const;
    void createComponentsAndUpdateFlags(const std::vector<GameObjectCreationItem>& items,
                                        const std::unordered_map<Uuid, GameObject>& uuidMap) const;
    [[nodiscard]] Uuid generateNewInstanceUuid(std::vector<GameObjectCreationItem>& items,
                                               std::unordered_map<Uuid, GameObject>& objects,
                                               Uuid oldInstanceUuid) const;
    void backgroundLoadRecursively(SmartPointer<GameObjectDescriptor> node, int depth) const;

    std::vector<SmartPointer<GameObjectDescriptor>> m_nodes;
};

} // namespace Kiln::Tessel
