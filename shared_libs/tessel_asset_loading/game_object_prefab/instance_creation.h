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
/// descriptors while it gathers. Failure: reported in the engine log; the stage is then FAILED and nothing of the
/// instance remains. An exception that a component throws rolls the instance back and leaves step().
class KILN_TESSEL_ASSET_LOADING_EXPORT InstanceCreation final : NonCopyable {
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

    /// For an empty prefab, the stage is FAILED immediately, without a message.
    InstanceCreation(const GameObjectPrefab& prefab, GameObjectPrefab::CreateConfig& config);
    ~InstanceCreation();

    /// Works until the instance is complete or has failed, or until the deadline has passed, but performs at least one
    /// unit. A creation whose world is destroyed between two steps fails. Returns the current stage.
    Stage step(const Deadline& deadline);

    [[nodiscard]] Stage stage() const noexcept { return m_stage; }
    [[nodiscard]] bool isFinished() const noexcept { return m_stage >= Stage::SUCCEEDED; }

    /// Number of items that have been gathered so far, and of those that the current stage has done.
    [[nodiscard]] std::size_t itemsCount() const noexcept { return m_items.size(); }
    [[nodiscard]] std::size_t doneCount() const noexcept { return m_nextItem; }

    /// Hands over the objects of a creation that has succeeded: the root first, the others in the order of their items.
    /// After a failure, and when they have been handed over already, the result is just INVALID_GAME_OBJECT.
    [[nodiscard]] std::vector<GameObject> takeObjects();

    /// Removes the objects that the creation has made, and their entries in the caller's map. Objects of the caller
    /// remain, unless they have become descendants of a removed object. The creation has then failed. Objects that have
    /// been handed over are not touched.
    void rollBack() noexcept;

private:
    friend class Tessel::GameObjectPrefab; // For the individual stages.

    using Item = GameObjectPrefab::GameObjectCreationItem;

    /// For createAllObjects(): a creation whose items have already been gathered.
    InstanceCreation(const GameObjectPrefab& prefab, int worldId, UuidMap& uuidMap, InstanceGathering::Items items);

    /// The stages from deriving UUIDs to creating objects. On failure the objects that were created remain.
    [[nodiscard]] bool createAllObjects();

    void work(const Deadline& deadline);

    // The stages.
    void gather(const Deadline& deadline);
    void deriveUuids(const Deadline& deadline);
    void enterUuids(const Deadline& deadline);
    void createObjects(const Deadline& deadline);
    void createComponents(const Deadline& deadline);
    void enterStage(Stage stage) noexcept;

    // Gathering sets PrefabComponent::Config::hasOverrides in shared descriptors. While this creation pauses, others
    // may set it, too: the values are saved before a pause and set again before components are created.
    void saveOverrideFlags();
    void restoreOverrideFlags() const;

    void fail();
    void failInstancing();

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

    /// Checks that there is a root and hands the UUIDs over to the caller's map.
    [[nodiscard]] bool completeObjects();

    /// The nested roots, for links; indexed by the first link to an integration point.
    class NestedRoots final : public INestedRoots {
    public:
        explicit NestedRoots(const InstanceCreation& creation) noexcept : m_creation(creation) {}
        [[nodiscard]] GameObject findNestedRoot(const Uuid& nestedInstanceUuid) override;

    private:
        const InstanceCreation& m_creation;
        std::optional<NestedRootIndex> m_index;
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

    InstanceGathering::Items m_items;
    InstanceGathering m_gathering{m_items};
    std::vector<ItemObject> m_itemObjects;  ///< By item.
    std::optional<UuidCombiner> m_combiner; ///< Of the instance whose UUIDs are derived.

    std::vector<GameObject> m_created; ///< Root first; the invalid object in its position until it is found.
    UuidMap m_usedUuids{8};            ///< UUIDs of this instance, until they are handed over to the caller's map.
    bool m_areUuidsEntered = false;    ///< Whether all UUIDs were added to m_usedUuids in advance.
    bool m_isRepaired = false;         ///< Whether a conflict has moved entries to other UUIDs.

    std::optional<ObjectCreation> m_objectCreation; ///< Empty while components are not created, and without a world.
    NestedRoots m_nestedRoots{*this};

    struct OverrideFlag {
        ComponentDescriptor<PrefabComponent>* component; ///< Of an item.
        bool hasOverrides;
    };
    std::vector<OverrideFlag> m_overrideFlags; ///< In the order of the items.
    std::size_t m_savedItemsCount = 0;         ///< Number of items whose flags are saved.

    LargeInstance::ParentGuess m_parentGuess;
};

} // namespace Kiln::Tessel::detail
