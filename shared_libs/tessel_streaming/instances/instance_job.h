#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_serialization/component_library.h>
#include <object_serialization/override_records.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/game_object_prefab/instance_creation.h>
#include <tessel_streaming/budget/frame_budget.h>
#include <tessel_streaming/documents/document_library.h>
#include <tessel_streaming/instances/document_resolver.h>
#include <tessel_streaming/instances/followed_instance.h>
#include <tessel_streaming/instances/removal_list.h>
#include <tessel_streaming/load_options.h>
#include <tessel_streaming/load_result.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// What the steps of instances have cost so far, to predict those to come. One for all instances.
struct InstanceCosts {
    UnitCost start;
    UnitCost creation; ///< Per item and stage.
    UnitCost placing;
    UnitCost activation; ///< Per object.
    UnitCost release;
};

/// What an instance is made from.
struct InstanceOrder {
    int worldId = -1;
    Uuid instanceUuid;
    SmartPointer<OverrideRecords> overrides; ///< May be null.
    GameObject parent;                       ///< The invalid object for none.
    std::optional<Matrix> placement;
    Activation activation = Activation::AT_ONCE;
    FailurePolicy failurePolicy = FailurePolicy::FAIL;
    bool follow = false;
    std::uint64_t documentsVersion = 0; ///< LiveUpdates::documentsVersion() when it begins; for `follow`.
};

/// Makes one instance, in steps: creates its objects, lets the creation listener see it, attaches and places its root,
/// and activates it. Until then no object of it is active.
///
/// Owner: the request; after a cancellation the list of removals. Main thread. Failure: data; what was made remains
/// until remove() or the destructor removes it.
class InstanceJob : NonCopyable {
public:
    enum class Outcome {
        WORKING,     ///< Another step is needed.
        NEEDS_FILES, ///< Nothing was made; unreadFiles() have to be read before a new job starts.
        COMPLETE,
        FAILED, ///< See failures().
    };

    /// The document of `top` must exist.
    InstanceJob(InstanceOrder order, const SmartPointer<LoadedFile>& top, const DocumentLibrary& documents,
                InstanceCosts& costs);
    ~InstanceJob();

    /// Does a step, in units of one item where it can be divided, and pauses before a unit that does not fit into the
    /// budget. Throws only what the library itself cannot handle.
    Outcome step(FrameBudget& budget);

    /// How long the shortest possible step is expected to take.
    [[nodiscard]] UnitCost::Duration predictedStep() const noexcept;

    /// Name of the current step, for statistics.
    [[nodiscard]] const char* stepName() const noexcept;

    [[nodiscard]] LoadPhase phase() const noexcept;
    [[nodiscard]] const std::vector<std::string>& unreadFiles() const noexcept { return m_resolver.unreadFiles(); }

    /// Of a failure, its reasons; of a complete instance, what was left out of it.
    [[nodiscard]] const std::vector<LoadFailure>& failures() const noexcept { return m_failures; }
    [[nodiscard]] const std::vector<SkippedComponents>& skippedComponents() const noexcept {
        return m_resolver.skippedComponents();
    }

    [[nodiscard]] std::size_t objectsTotal() const noexcept { return m_objectsTotal; }
    [[nodiscard]] std::size_t objectsCreated() const noexcept;

    /// From 0 to 1.
    [[nodiscard]] double creationRatio() const noexcept;

    /// Makes the job fail, for an exception that leaves step(). Without a chain, the request's file is the culprit.
    void fail(FailureCode code, std::string message, std::vector<std::string> chain = {});

    // Of a complete instance.
    [[nodiscard]] GameObject root() const noexcept { return m_root; }
    [[nodiscard]] const Uuid& instanceUuid() const noexcept { return m_config.instanceUuid; }

    /// Hands over the objects, the root first. They are no longer the job's to be removed.
    [[nodiscard]] std::vector<GameObject> takeObjects();

    /// What the instance was created from, without the request's data. Only with InstanceOrder::follow.
    [[nodiscard]] std::unique_ptr<FollowedInstance> takeFollowed();

    /// Deactivates what is active.
    void hide() noexcept { hideInstance(m_root, m_objects); }

    /// Removes what was made until the deadline has passed. Returns whether nothing is left.
    [[nodiscard]] bool remove(const Tessel::detail::Deadline& deadline, UnitCost& cost);

private:
    enum class Step {
        START,
        GATHER,
        CREATE,
        PLACE,
        DISABLE_CHILDREN, ///< BY_SUBTREE: so that the root's activation reaches only the root.
        ACTIVATE,
        ENABLE_CHILDREN, ///< BY_SUBTREE: activates one subtree after the other.
        RELEASE,
        DONE,
    };

    // The work of each step.
    void start(FrameBudget& budget);
    void gather(FrameBudget& budget);
    void create(FrameBudget& budget);
    void place(FrameBudget& budget);
    void disableChildren(FrameBudget& budget);
    void activate(FrameBudget& budget);
    void enableChildren(FrameBudget& budget);
    void release(FrameBudget& budget);
    void doNothing(FrameBudget& /*budget*/) {}

    void runCreation(FrameBudget& budget, Tessel::detail::InstanceCreation::Stage pauseBefore);
    [[nodiscard]] bool offerToListener();
    void placeRoot(GameObjectManager& manager);

    /// Calls `unit(child)` for the root's children from m_nextChild on. Returns whether all were visited.
    template <class Unit>
    [[nodiscard]] bool forEachChild(FrameBudget& budget, const Unit& unit);

    [[nodiscard]] bool checkWorldAndParent();
    [[nodiscard]] bool isActivated(GameObjectManager& manager) const;
    void failIfRootIsGone();
    [[nodiscard]] bool keepForUpdates(const Tessel::detail::Deadline& deadline);
    void failOnException(FailureCode code, const char* activity, std::vector<std::string> chain = {});

    const InstanceOrder m_order;
    const SmartPointer<LoadedFile> m_top;
    InstanceCosts& m_costs;
    DocumentResolver m_resolver;
    ICreationListener* m_listener = nullptr;
    GameObjectPrefab::CreateConfig m_config;
    std::optional<Tessel::detail::InstanceCreation> m_creation; ///< Refers to m_config.
    Step m_step = Step::START;
    bool m_hasFailed = false;
    bool m_isKept = false; ///< Whether m_followed is complete.
    std::vector<LoadFailure> m_failures;

    std::size_t m_objectsTotal = 0;
    std::vector<GameObject> m_objects; ///< Of an instance whose objects are complete; the root first.
    GameObject m_root;
    std::vector<GameObject> m_children; ///< Those of the root that are enabled.
    std::size_t m_nextChild = 0;
    std::unique_ptr<FollowedInstance> m_followed;
};

} // namespace Kiln::Tessel::Streaming::detail
