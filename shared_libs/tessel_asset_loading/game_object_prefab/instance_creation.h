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

#include <cstddef>
#include <optional>
#include <unordered_map>
#include <vector>

namespace Kiln::Tessel {
class EntryPoint;
}

namespace Kiln::Tessel::detail {

class SpareNodes;

/// Makes one instance of a prefab, with every prefab nested in it. It owns all that belongs to an instance while it is
/// being made: the creation items, the derived UUIDs, the objects, and the map of the UUIDs in use.
///
/// The work is divided into stages, each of which ends for all items before the next one begins, and each stage into
/// units of one node or item. A step may pause after any unit, and a later step, in a later frame for instance,
/// continues there. Until the instance has succeeded, its objects are inactive. A creation that is destroyed before,
/// also by an exception that a component throws, removes the objects that it has made.
///
///     InstanceCreation creation(prefab, config);
///     creation.step({});                                     // all at once, or step(deadline) once per frame
///     std::vector<GameObject> objects = creation.takeObjects();
///
/// Not for: activation, callbacks and the load queue, which are the service's.
/// Lifetime: refers to the prefab, which nobody may change or destroy, and to the configuration's `uuidMap`, which
/// nobody else may change. Threads: the main thread; it writes to shared descriptors while it gathers.
/// Failure: reported in the engine log; the stage is then FAILED and nothing of the instance remains.
class KILN_TESSEL_ASSET_LOADING_EXPORT InstanceCreation final : NonCopyable, INestedRoots {
public:
    enum class Stage {
        GATHERING,           ///< Lists the creation items; no object exists yet.
        DERIVING_UUIDS,      ///< Derives the UUID of each item's object.
        ENTERING_UUIDS,      ///< Enters the UUIDs of a large instance in the map.
        CREATING_OBJECTS,    ///< Creates or takes each item's object, without components.
        CREATING_COMPONENTS, ///< Creates each object's components and sets its state flags.
        SUCCEEDED,
        FAILED
    };

    /// An empty prefab has failed at once, without a message.
    InstanceCreation(const GameObjectPrefab& prefab, GameObjectPrefab::CreateConfig& config);
    ~InstanceCreation();

    /// Works until the instance is complete or has failed, or until the deadline has passed; one unit at least. A
    /// creation whose world is destroyed between two steps fails. Returns the stage that is reached.
    Stage step(const Deadline& deadline);

    [[nodiscard]] Stage stage() const noexcept { return m_stage; }
    [[nodiscard]] bool isFinished() const noexcept { return m_stage >= Stage::SUCCEEDED; }

    /// Number of items that have been gathered so far, and of those that the current stage has done.
    [[nodiscard]] std::size_t itemsCount() const noexcept { return m_items.size(); }
    [[nodiscard]] std::size_t doneCount() const noexcept { return m_nextItem; }

    /// Hands over the objects of a creation that has succeeded: the root first, the others in the order of their items.
    /// After a failure the result is just INVALID_GAME_OBJECT.
    [[nodiscard]] std::vector<GameObject> takeObjects();

    /// Removes the objects of the instance, those included that were taken from the caller's map. The creation has then
    /// failed. What has been entered in the caller's map stays there.
    void rollBack();

private:
    friend class Tessel::GameObjectPrefab; // For its single stages.

    using Item = GameObjectPrefab::GameObjectCreationItem;

    /// A creation whose items are gathered already, for createAllObjects().
    InstanceCreation(const GameObjectPrefab& prefab, int worldId, UuidMap& uuidMap, InstanceGathering::Items items);

    /// The stages from deriving UUIDs to creating objects. On failure the objects that were made remain.
    [[nodiscard]] bool createAllObjects();

    void work(const Deadline& deadline);

    // The stages.
    void gather(const Deadline& deadline);
    void deriveUuids(const Deadline& deadline);
    void enterUuids(const Deadline& deadline);
    void createObjects(const Deadline& deadline);
    void createComponents(const Deadline& deadline);
    void enterStage(Stage stage) noexcept;
    void fail();

    /// Calls `unit(index)` for one item after the other until it returns false or the deadline has passed. Whether the
    /// stage is complete.
    template <class Unit>
    [[nodiscard]] bool forEachItem(const Deadline& deadline, const Unit& unit);

    // The steps of one item. Those that return a bool return false when the creation has failed.
    [[nodiscard]] Uuid deriveUuid(const Item& item);
    [[nodiscard]] bool createObject(std::size_t index);
    [[nodiscard]] bool enterUuid(std::size_t index, bool isExternal);
    [[nodiscard]] bool repairConflict(std::size_t index);
    [[nodiscard]] bool appendObject(const ItemObject& itemObject);
    void createComponents(std::size_t index);

    /// Checks that there is a root and hands the UUIDs over to the caller's map.
    [[nodiscard]] bool completeObjects();

    [[nodiscard]] GameObject findNestedRoot(const Uuid& nestedInstanceUuid) override;

    /// The overrides of an item's object; null for none. The zero UUID stands for the root in override data that does
    /// not know the root's UUID: the first item.
    [[nodiscard]] static const GameObjectOverrideRecords* findOverrides(const Item& item, bool isFirstItem);

    /// Creates an object's components and sets its flags outside of a creation in one world.
    static void completeObject(const Item& item, GameObject object, const UuidMap& uuidMap,
                               const GameObjectOverrideRecords* overrides);

    const EntryPoint& m_entryPoint;
    SpareNodes& m_spareNodes;
    const GameObjectPrefab& m_prefab;
    const int m_worldId;
    UuidMap& m_uuidMap;       ///< The caller's.
    World* m_world = nullptr; ///< Found anew by each step; null when it is not valid.

    Stage m_stage = Stage::GATHERING;
    std::size_t m_nextItem = 0; ///< The item that the stage continues with.

    InstanceGathering::Items m_items;
    InstanceGathering m_gathering{m_items};
    std::vector<ItemObject> m_itemObjects;  ///< By item.
    std::optional<UuidCombiner> m_combiner; ///< Of the instance whose UUIDs are derived.

    std::vector<GameObject> m_created; ///< Root first; the invalid object in its position until it is found.
    UuidMap m_usedUuids{8};            ///< UUIDs of this instance, until they are handed over to the caller's map.
    bool m_areUuidsEntered = false;    ///< Whether m_usedUuids has all UUIDs in advance.
    bool m_isRepaired = false;         ///< Whether a conflict has moved entries to other UUIDs.

    std::optional<ObjectCreation> m_objectCreation; ///< Empty while components are not created, and without a world.

    /// By nested instance UUID; made by the first link to an integration point.
    std::optional<std::unordered_map<Uuid, GameObject>> m_nestedRoots;
};

} // namespace Kiln::Tessel::detail
