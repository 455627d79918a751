#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_serialization/override_records.h>
#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/game_object_prefab/chunked_list.h>
#include <tessel_asset_loading/game_object_prefab/deadline.h>
#include <tessel_asset_loading/game_object_prefab/nested_prefab.h>
#include <tessel_asset_loading/game_object_prefab/override_flags.h>
#include <tessel_asset_loading/game_object_prefab/point_records.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_limits.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::Tessel::detail {

/// Lists the creation items of a prefab and of everything nested in it, in a depth-first walk that can pause after any
/// node: the item of an integration point takes the point's position and is followed by the items of the nested prefab.
/// Override records are combined on the way down, from the outer prefab to the inner one.
///
/// Owner: the creation that gathers. It refers to the list of items and to the prefabs that enter() is given. Threads:
/// the main thread; it writes to shared descriptors. Failure: reported in the log; the gathering is then of no further
/// use.
class KILN_TESSEL_ASSET_LOADING_EXPORT InstanceGathering : NonCopyable {
public:
    using Items = ChunkedList<GameObjectPrefab::GameObjectCreationItem>;

    /// Items are appended to `items`. Nested prefabs come from `nestedPrefabs` or, if it is null, from the service.
    explicit InstanceGathering(Items& items, INestedPrefabs* nestedPrefabs = nullptr)
        : m_items(items), m_nestedPrefabs(nestedPrefabs) {}

    /// Descends into a prefab; its nodes are visited next. `depth` is its level below the top prefab. False, with an
    /// error in the log, beyond the depth limit.
    [[nodiscard]] bool enter(const GameObjectPrefab& prefab, const Uuid& instanceUuid,
                             SmartPointer<OverrideRecords> overrides, bool skipRoots, int depth);

    [[nodiscard]] bool isFinished() const noexcept { return m_levels.empty(); }

    /// Visits nodes until there are none left or the deadline has passed, but visits at least one node. False when the
    /// instance can't be gathered: a nested prefab lies beyond the depth limit, or the items exceed
    /// PrefabLimits::instanceObjects or instanceOverrideBytes.
    [[nodiscard]] bool visitNodes(const Deadline& deadline);

    /// Once the gathering is finished, frees a part of its memory. False when none is left.
    bool releaseOne() noexcept { return m_pointRecords.removeOne() || m_overrideFlags.removeOne(); }

    /// The flags of the visited descriptors, stored from the first visit with a deadline on.
    [[nodiscard]] const OverrideFlags& overrideFlags() const noexcept { return m_overrideFlags; }

private:
    using PrefabDescriptor = ComponentDescriptor<PrefabComponent>;

    /// State shared by the integration points of one prefab; created for the first of them.
    struct Nesting {
        explicit Nesting(const Uuid& instanceUuid) : enclosingInstance(instanceUuid) {}

        /// The UUID of a point's parent in the enclosing instance. Neighbours often have the same parent.
        [[nodiscard]] const Uuid& liveParent(const Uuid& parent) noexcept;

        UuidCombiner enclosingInstance;
        std::optional<Uuid> lastLiveParent;
        Uuid lastParent;
        std::string lastResource;
        NestedPrefab lastNested; ///< Of lastResource. Null when it could not be loaded; it is then requested again.
    };

    /// A prefab that the walk has entered and not finished.
    struct Level {
        const GameObjectPrefab* prefab;
        std::size_t nextNode;
        Uuid instanceUuid;
        SmartPointer<OverrideRecords> overrides; ///< In force for the instance; may be null.
        bool skipRoots;
        int depth;
        std::unique_ptr<Nesting> nesting; ///< Null before the first integration point.
    };

    void assignOverrideFlag(const Level& level, PrefabDescriptor& component);
    [[nodiscard]] bool visitNode(Level& level, const SmartPointer<GameObjectDescriptor>& node);
    [[nodiscard]] bool visitIntegrationPoint(Level& level, const SmartPointer<GameObjectDescriptor>& node,
                                             PrefabDescriptor& component);

    /// The prefab of a resource path that a point of the current level names; null when it could not be loaded.
    /// Neighbours often nest the same prefab, which is then requested once.
    [[nodiscard]] const GameObjectPrefab* loadNested(Nesting& nesting, const std::string& resource);
    [[nodiscard]] NestedPrefab request(const std::string& resource) const;

    [[nodiscard]] bool isWithinLimit() const;

    Items& m_items;
    INestedPrefabs* const m_nestedPrefabs; ///< The caller's; may be null.
    const PrefabLimits m_limits = prefabLimits();
    std::size_t m_overrideBytes = 0; ///< Of the prefabs' own override texts of all items.
    PointRecords m_pointRecords;
    OverrideFlags m_overrideFlags;
    bool m_canPause = false; ///< A visit had a deadline, so that other creations may run before this one is complete.
    std::vector<Level> m_levels; ///< From the top prefab to the one whose nodes are visited.
};

} // namespace Kiln::Tessel::detail
