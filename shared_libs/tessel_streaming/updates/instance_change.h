#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <tessel_asset_loading/game_object_prefab/deadline.h>
#include <tessel_asset_loading/game_object_prefab/instance_gathering.h>
#include <tessel_asset_loading/game_object_prefab/nested_prefab.h>
#include <tessel_streaming/instances/followed_instance.h>
#include <tessel_streaming/updates.h>
#include <tessel_streaming/updates/document_change.h>
#include <tessel_streaming/updates/instance_links.h>
#include <tessel_streaming/updates/object_editor.h>

#include <cstddef>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Kiln {
namespace Tessel {
class World;
}
} // namespace Kiln

namespace Kiln::Tessel::Streaming::detail {

/// Updates an instance in whatever way its documents have changed. It lists the objects that the instance has now,
/// matches them with the live ones by UUID, and creates those that are new, over several frames; then the change
/// becomes visible at once.
///
/// Until then new objects are inactive and have no parent outside of the new ones. If this is destroyed before, they
/// are removed.
///
/// Owner: the update. It refers to the instance and to the source of nested prefabs. Threads: the main thread. Failure:
/// reported in the log; the instance stays as it is.
class InstanceChange : NonCopyable {
public:
    /// `document` is the current one of the instance's path.
    InstanceChange(FollowedInstance& instance, SmartPointer<LoadedFile> document,
                   Tessel::detail::INestedPrefabs& nestedPrefabs);
    ~InstanceChange();

    /// Works until the change is prepared or has failed, or until the deadline has passed, but performs at least one
    /// unit. Returns whether it is finished.
    bool prepare(const Tessel::detail::Deadline& deadline);

    [[nodiscard]] bool hasFailed() const noexcept { return m_stage == Stage::FAILED; }

    /// Makes a prepared change visible, and adds what has changed to `update`.
    void apply(InstanceUpdate& update);

private:
    using Item = GameObjectPrefab::GameObjectCreationItem;
    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    enum class Stage {
        GATHERING,  ///< Lists the items.
        INDEXING,   ///< Enters the UUIDs of the live objects.
        MATCHING,   ///< Finds the live object of each item, or creates one.
        LINKING,    ///< Enters the live objects as targets of links, if objects were added or removed.
        COMPLETING, ///< Creates the components of new objects, and compares those of the others.
        PREPARED,
        FAILED
    };

    /// What changes at an object that stays.
    struct ObjectChange {
        std::size_t item = 0;
        bool isRenamed = false;
        bool areFlagsChanged = false;
        bool isMoved = false;                    ///< Its HierarchyComponent has changed.
        std::vector<ComponentChange> components; ///< The others.
    };

    void work(const Tessel::detail::Deadline& deadline, World& world);
    void gather(const Tessel::detail::Deadline& deadline);
    void saveOverrideFlags();
    void indexNext();
    void matchNext(World& world);
    void endMatching();
    void linkNext();
    void completeNext(World& world);
    void completeAdded(std::size_t index, World& world);
    void compare(std::size_t index);
    void addComponent(std::size_t index, IComponentDescriptor& component);
    [[nodiscard]] bool isUnchanged(std::size_t index, const SmartPointer<IComponentDescriptor>& component);
    [[nodiscard]] std::size_t findOlder(const Item& item, const Uuid& uuid);
    [[nodiscard]] GameObject parentOf(const Item& item);
    [[nodiscard]] const ComponentOverrideRecords* findOverrides(std::size_t index,
                                                                const IComponentDescriptor& component) const;
    void enterStage(Stage stage) noexcept;
    void fail(const char* problem);

    // The steps of apply(). A component may destroy the world in each of them.
    void detachMoved();
    void removeOlder(InstanceUpdate& update);
    void changeObjects(InstanceUpdate& update);
    void changeObject(const ObjectChange& change, InstanceUpdate& update);
    void attach(std::size_t index);
    void activateAdded(InstanceUpdate& update);
    void finish();

    FollowedInstance& m_instance;
    SmartPointer<LoadedFile> m_document;
    Stage m_stage = Stage::GATHERING;
    std::size_t m_next = 0; ///< The item that the stage continues with.

    Tessel::detail::InstanceGathering::Items m_gathered;
    Tessel::detail::InstanceGathering m_gathering;
    std::vector<bool> m_hasOverrides; ///< By item: its PrefabComponent::Config::hasOverrides after gathering.

    std::unordered_map<Uuid, std::size_t> m_olderIndex; ///< Items of the instance by UUID.
    std::size_t m_olderRoot = NONE;
    std::vector<bool> m_isKept; ///< By item of the instance: whether its object stays.

    std::vector<Item> m_items;         ///< Taken from m_gathered, one after the other.
    std::vector<Uuid> m_uuids;         ///< By item.
    std::vector<GameObject> m_objects; ///< By item.
    std::vector<std::size_t> m_older;  ///< By item: the item of the instance with the same object; NONE for a new one.
    std::size_t m_root = NONE;
    std::optional<UuidCombiner> m_combiner;

    bool m_isMembershipChanged = false; ///< Whether objects were added or removed, so that links may change.
    InstanceLinks m_olderLinks;         ///< Filled only then.
    InstanceLinks m_links;

    std::vector<ObjectChange> m_changes;
    std::vector<std::size_t> m_added; ///< Items with new objects.
    std::unordered_set<GameObject> m_newObjects;
    std::vector<std::size_t> m_detached; ///< Those of them whose parents are not new; they are attached at the end.
    bool m_isApplied = false;
    ObjectEditor m_editor;
};

} // namespace Kiln::Tessel::Streaming::detail
