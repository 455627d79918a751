#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <object_framework/game_object.h>
#include <object_serialization/object_creation.h>
#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/game_object_prefab/deadline.h>
#include <tessel_asset_loading/game_object_prefab/instance_gathering.h>
#include <tessel_asset_loading/game_object_prefab/item_object.h>
#include <tessel_asset_loading/game_object_prefab/large_instance.h>
#include <tessel_asset_loading/game_object_prefab/nested_root_index.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace Kiln::Tessel {
class EntryPoint;
}

namespace Kiln::Tessel::detail {

class SpareNodes;

/// Creates one instance of a prefab, with every prefab nested in it. It owns everything that belongs to the instance
/// during its creation: the creation items, the derived UUIDs, the objects, and the map of the UUIDs in use.
///
/// The work is divided into stages, each of which ends for all items before the next one begins, and each stage into
/// units of one node or item. A step may pause after any unit, and a later step, in a later frame for instance,
/// continues there. Until the instance has succeeded, the objects that it makes are inactive, unless a component
/// attaches them to an active object of the caller. A creation that is destroyed before removes the objects that it has
/// made.
///
///     InstanceCreation creation(prefab, config);
///     creation.step({});                                     // all at once, or step(deadline) once per frame
///     std::vector<GameObject> objects = creation.takeObjects();
///
/// Not for: activation, callbacks and the load queue, which belong to PrefabService.
/// Owner: the code that needs the instance. Lifetime: refers to the prefab, which nobody may change or destroy, and to
/// the configuration's `uuidMap`, which nobody else may change. Threads: the main thread; it writes to shared
/// descriptors while it gathers. Failure: reported in the engine log; the objects are removed, and when the stage is
/// FAILED nothing of the instance remains. An exception that a component throws leaves step(), which has begun to roll
/// the instance back. A removal also ends with the step when its deadline has passed; later steps continue it.
class KILN_TESSEL_ASSET_LOADING_EXPORT InstanceCreation final : NonCopyable {
public:
    using Item = GameObjectPrefab::GameObjectCreationItem;
    using Items = InstanceGathering::Items;

    enum class Stage {
        GATHERING,           ///< Lists the creation items; no object exists yet.
        DERIVING_UUIDS,      ///< Derives the UUID of each item's object.
        ENTERING_UUIDS,      ///< Enters the UUIDs of a large instance in the map.
        CREATING_OBJECTS,    ///< Creates or takes each item's object, without components.
        CREATING_COMPONENTS, ///< Creates each object's components and sets its state flags.
        REMOVING,            ///< Removes the objects of a creation that has failed or is rolled back.
        SUCCEEDED,
        FAILED
    };

    /// For an empty prefab, the stage is FAILED immediately, without a message. Nested prefabs come from
    /// `nestedPrefabs` or, if it is null, from the service, which parses those that are not cached.
    InstanceCreation(const GameObjectPrefab& prefab, GameObjectPrefab::CreateConfig& config,
                     INestedPrefabs* nestedPrefabs = nullptr);
    ~InstanceCreation();

    /// Works until the instance is complete or has failed, or until the deadline has passed, but performs at least one
    /// unit. A creation whose world is destroyed between two steps fails. Returns the current stage.
    ///
    /// Also pauses when it enters `pauseBefore`.
    Stage step(const Deadline& deadline, Stage pauseBefore = Stage::SUCCEEDED);

    [[nodiscard]] Stage stage() const noexcept { return m_stage; }
    [[nodiscard]] bool isFinished() const noexcept { return m_stage >= Stage::SUCCEEDED; }

    /// Number of items that have been gathered so far, and of those that the current stage has done.
    [[nodiscard]] std::size_t itemsCount() const noexcept { return m_items.size(); }
    [[nodiscard]] std::size_t doneCount() const noexcept { return m_nextItem; }

    /// Hands over the objects of a creation that has succeeded: the root first, the others in the order of their items.
    /// After a failure, and when they have been handed over already, the result is just INVALID_GAME_OBJECT.
    [[nodiscard]] std::vector<GameObject> takeObjects();

    /// The component whose construction has thrown an exception; null for an exception from elsewhere, and without one.
    [[nodiscard]] const SmartPointer<IComponentDescriptor>& failedComponent() const noexcept {
        return m_failedComponent;
    }

    /// The items that have been gathered so far, and their objects, which exist from CREATING_OBJECTS on. Valid until
    /// the creation is rolled back, until release(), takeAll() or the destructor.
    [[nodiscard]] const Items& items() const noexcept { return m_items; }
    [[nodiscard]] const ChunkedList<ItemObject>& itemObjects() const noexcept { return m_itemObjects; }

    struct Taken {
        std::vector<GameObject> objects; ///< As from takeObjects().
        Items items;
        ChunkedList<ItemObject> itemObjects; ///< By item; without them if the creation has failed.
    };

    /// Like takeObjects(), but also hands over the items and their objects. ItemObject::entry is valid as long as the
    /// caller's map has the entry.
    [[nodiscard]] Taken takeAll();

    /// Removes the objects that the creation has made, and their entries in the caller's map, from the last object to
    /// the first, until the deadline has passed, but at least some. Returns whether all have been removed; the creation
    /// has then failed, and is in the stage REMOVING before. step() and the destructor continue the removal. Objects of
    /// the caller remain, unless they have become descendants of a removed object. Objects that have been handed over
    /// are not touched.
    bool rollBack(const Deadline& deadline) noexcept;
    void rollBack() noexcept { rollBack(Deadline()); }

    /// Frees the memory of a creation that has finished, until the deadline has passed. Returns whether nothing is left
    /// that the destructor has to free; false for a creation that has not finished. Objects that have not been handed
    /// over before stay in the world.
    bool release(const Deadline& deadline) noexcept;

private:
    friend class Tessel::GameObjectPrefab; // For the individual stages.

    /// Numbers of objects to remove, and of elements to free, before the deadline is checked.
    static constexpr std::size_t REMOVAL_GROUP = 16;
    static constexpr std::size_t RELEASE_GROUP = 64;

    /// For createAllObjects(): a creation whose items have already been gathered.
    InstanceCreation(const GameObjectPrefab& prefab, int worldId, UuidMap& uuidMap, Items items,
                     INestedPrefabs* nestedPrefabs = nullptr);

    /// The stages from deriving UUIDs to creating objects. On failure the objects that were created remain.
    [[nodiscard]] bool createAllObjects();

    void work(const Deadline& deadline);

    // The stages.
    void gather(const Deadline& deadline);
    void deriveUuids(const Deadline& deadline);
    void enterUuids(const Deadline& deadline);
    void prepareObjects();
    void createObjects(const Deadline& deadline);
    void createComponents(const Deadline& deadline);
    void enterStage(Stage stage) noexcept;

    /// Of the current item, the first component that its object lacks.
    [[nodiscard]] SmartPointer<IComponentDescriptor> findMissingComponent() const;

    /// Reports the failure and starts to remove the objects.
    void fail();

    /// `isInstancing`: all objects that instancing has listed are removed, in their order, also those of the caller's
    /// map that it has taken. Otherwise those that the creation has made, from the last to the first.
    void startRemoval(bool isInstancing) noexcept;
    void removeObjects(const Deadline& deadline) noexcept;
    void removeLastItem(GameObjectManager* manager) noexcept;

    // A document may list a parent after its children. So that no removal takes long, the descendants that an object
    // still has are listed first, parents before children, and removed from the end of the list.
    void removeDescendant(GameObjectManager* manager) noexcept;
    /// Appends the object's children to the list. Returns false when there are none.
    bool listChildren(const GameObjectManager* manager, GameObject object) noexcept;

    /// Calls `unit(index)` for one item after the other until it returns false or the deadline has passed. Returns
    /// whether the stage is complete.
    template <class Unit>
    [[nodiscard]] bool forEachItem(const Deadline& deadline, const Unit& unit);

    // The steps of one item. Those that return a bool return false when the creation has failed.
    [[nodiscard]] Uuid deriveUuid(const Item& item);
    [[nodiscard]] bool createObject(std::size_t index);
    [[nodiscard]] bool enterUuid(std::size_t index, bool isExternal);
    [[nodiscard]] bool repairConflict(std::size_t index);
    [[nodiscard]] bool appendObject(const ItemObject& itemObject);
    void createComponents(std::size_t index);

    /// Moves the UUIDs to the caller's map. Returns whether all have been moved.
    [[nodiscard]] bool handOverUuids(const Deadline& deadline);
    void completeObjects();

    /// The nested roots, for links to integration points. Each lookup indexes some of them and searches the rest, so
    /// that none takes long.
    class NestedRoots final : public INestedRoots {
    public:
        explicit NestedRoots(const InstanceCreation& creation) noexcept : m_creation(creation) {}
        /// Takes the items in their order.
        void add(std::size_t item) { m_rootItems.push_back(item); }
        [[nodiscard]] GameObject findNestedRoot(const Uuid& nestedInstanceUuid) override;
        /// Frees a part of the memory. False when none is left.
        bool releaseOne() noexcept;

    private:
        static constexpr std::size_t INDEXED_PER_LOOKUP = 256;

        const InstanceCreation& m_creation;
        ChunkedList<std::size_t> m_rootItems; ///< Indices of the items that stand for nested roots.
        std::size_t m_indexedCount = 0;       ///< Of m_rootItems.
        NestedRootIndex m_index;
    };

    /// The overrides of an item's object; null for none. In override data that does not know the root's UUID, the zero
    /// UUID stands for the root, which is the first item.
    [[nodiscard]] static const GameObjectOverrideRecords* findOverrides(const Item& item, bool isFirstItem) {
        if (!item.overrides) {
            return nullptr;
        }
        const GameObjectOverrideRecords* const record = item.overrides->getRecord(item.descriptor->uuid());
        return !record && isFirstItem ? item.overrides->getRecord(Uuid::ZERO) : record;
    }

    /// Creates the components of an object of any world and sets its flags.
    static void completeObject(const Item& item, const Uuid& uuid, GameObject object, const UuidMap& uuidMap,
                               INestedRoots& nestedRoots, const GameObjectOverrideRecords* overrides);

    const EntryPoint& m_entryPoint;
    SpareNodes& m_spareNodes;
    const GameObjectPrefab& m_prefab;
    const int m_worldId;
    UuidMap& m_uuidMap;       ///< The caller's.
    World* m_world = nullptr; ///< Looked up again by each step; null when it is not valid.

    Stage m_stage = Stage::GATHERING;
    std::size_t m_nextItem = 0; ///< The item that the stage continues with.

    Items m_items;
    InstanceGathering m_gathering;
    ChunkedList<ItemObject> m_itemObjects;  ///< By item.
    std::optional<UuidCombiner> m_combiner; ///< Of the instance whose UUIDs are derived.

    std::vector<GameObject> m_created; ///< Root first; the invalid object in its position until it is found.
    UuidMap m_usedUuids{8};            ///< UUIDs of this instance, until they are handed over to the caller's map.
    bool m_areUuidsEntered = false;    ///< Whether all UUIDs were added to m_usedUuids in advance.
    bool m_areMapsSwapped = false; ///< Whether m_usedUuids has entries of the caller, to be moved back to m_uuidMap.
    bool m_isRepaired = false;     ///< Whether a conflict has moved entries to other UUIDs.
    bool m_areObjectsTaken = false;

    ChunkedList<GameObject> m_descendants; ///< Of the last item's object; empty unless objects are removed.
    std::size_t m_listedDescendants = 0;   ///< Number of m_descendants whose children are in the list.
    bool m_areDescendantsRemoved = false;  ///< Those of the last item's object are listed or removed.

    std::optional<ObjectCreation> m_objectCreation; ///< Empty while components are not created, and without a world.
    NestedRoots m_nestedRoots{*this};

    LargeInstance::ParentGuess m_parentGuess;
    SmartPointer<IComponentDescriptor> m_failedComponent;
};

} // namespace Kiln::Tessel::detail
