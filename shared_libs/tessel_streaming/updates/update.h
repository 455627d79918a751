#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <tessel_asset_loading/game_object_prefab/nested_prefab.h>
#include <tessel_streaming/budget/frame_budget.h>
#include <tessel_streaming/documents/document_library.h>
#include <tessel_streaming/instances/followed_instance.h>
#include <tessel_streaming/updates.h>
#include <tessel_streaming/updates/document_change.h>
#include <tessel_streaming/updates/instance_change.h>
#include <tessel_streaming/updates/instance_shapes.h>
#include <tessel_streaming/updates/value_change.h>

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// Newer versions of files, on their way into the library and into the instances that follow them. All of them become
/// visible in one frame.
///
/// Owner: LiveUpdates. Threads: the main thread.
class Update : NonCopyable {
public:
    /// What an instance has become. `files` is valid as long as the update.
    struct Applied {
        std::shared_ptr<Followed> instance;
        InstanceUpdate update;
        const std::vector<std::string>* files = nullptr;
    };

    /// A file that stays as it was, and the other files because of which it does.
    struct Refused {
        RefusedUpdate update;
        std::vector<std::string> causes;
    };

    /// `newer` may be empty, to update instances that are waiting. All files have documents.
    Update(DocumentLibrary& documents, std::vector<SmartPointer<LoadedFile>> newer);

    /// Removes the objects that were prepared and have not become visible.
    ~Update();

    /// Compares the versions, reads what the newer ones nest, and replaces the older ones in the library, within the
    /// budget. Returns whether that is done and the library has everything that the newer versions need.
    bool prepareDocuments(FrameBudget& budget);

    /// Whether the library has the newer versions, so that the update must be completed.
    [[nodiscard]] bool areDocumentsReplaced() const noexcept { return m_stage > Stage::READING; }

    /// Whether the next step has to wait for files, before or after the documents are replaced.
    [[nodiscard]] bool isWaitingForFiles() const noexcept {
        return m_stage == Stage::READING || m_stage == Stage::COMPLETING;
    }

    /// The first file; empty if there is none.
    [[nodiscard]] std::string path() const { return m_changes.empty() ? std::string() : m_changes.front()->path(); }

    /// The files with newer contents. Complete when the documents have been replaced.
    [[nodiscard]] const std::vector<std::string>& files() const noexcept { return m_files; }

    /// Adds an instance if the update concerns it. `changedBefore` are files that have changed since it was created.
    void addInstance(const std::shared_ptr<Followed>& instance, std::vector<std::string> changedBefore);

    /// Prepares the updates of the instances within the budget. Returns whether that is done.
    bool prepareInstances(FrameBudget& budget);

    /// Makes all changes visible. Adds the instances that have changed to `applied` unless that is null.
    void apply(InstanceShapes& shapes, std::vector<Applied>* applied);

    [[nodiscard]] std::vector<Refused> takeRefused() { return std::move(m_refused); }

    /// What the update does not need any more; its destruction may take long. Any thread may destroy it.
    struct Remains;
    [[nodiscard]] std::unique_ptr<Remains> takeRemains();

private:
    enum class Stage { COMPARING, READING, COMPLETING, COMPLETE };

    /// What an instance of a path nests.
    struct Reach {
        std::vector<std::string> files; ///< Those of the update.
        bool hasOtherObjects = false;   ///< Not only values have changed.
    };

    /// The current documents.
    class LibraryPrefabs final : public Tessel::detail::INestedPrefabs {
    public:
        explicit LibraryPrefabs(const DocumentLibrary& documents) noexcept : m_documents(documents) {}
        [[nodiscard]] Tessel::detail::NestedPrefab load(const std::string& resource,
                                                        std::span<const GameObjectPrefab* const> enclosing) override;

    private:
        const DocumentLibrary& m_documents;
    };

    struct Target {
        std::shared_ptr<Followed> instance;
        const std::vector<std::string>* files;
        std::unique_ptr<InstanceChange> change; ///< Null if only values have changed.
    };

    [[nodiscard]] bool compare(FrameBudget& budget);
    void requestNested();
    [[nodiscard]] bool isNestedRead() const;
    [[nodiscard]] std::vector<std::vector<LoadFailure>> findFailures() const;
    void refuseUnsound();
    void replaceDocuments();
    [[nodiscard]] bool areNeedsComplete() const;
    void applyTo(Target& target, InstanceShapes& shapes, std::vector<Applied>* applied);
    void applyValuesTo(Followed& instance, InstanceUpdate& update, bool isReported);
    [[nodiscard]] const Reach& reachOf(const std::string& path);
    [[nodiscard]] bool hasOtherObjects(const DocumentChange& document, const std::string& instancePath) const noexcept;
    [[nodiscard]] bool needsListing(const Followed& instance, const Reach& reach) const;

    DocumentLibrary& m_documents;
    LibraryPrefabs m_nestedPrefabs;
    Stage m_stage = Stage::COMPARING;
    std::vector<std::unique_ptr<DocumentChange>> m_changes;
    std::vector<std::unique_ptr<DocumentChange>> m_refusedChanges;
    std::size_t m_compared = 0;
    std::vector<DocumentLibrary::NeedId> m_needs; ///< Keep what the newer versions nest until they are replaced.
    std::vector<std::string> m_files;
    NodeChanges m_nodes;
    std::unordered_map<std::string, Reach> m_reach; ///< By path of the instances.
    std::vector<std::unique_ptr<std::vector<std::string>>> m_filesOfWaiting;
    const InstanceShape* m_lastShape = nullptr; ///< Neighbours mostly have the same one.
    const Reach* m_lastReach = nullptr;         ///< Of the instances with that shape.
    const ItemChanges* m_lastChanges = nullptr; ///< While the update is applied: of the shape.
    std::unordered_map<const InstanceShape*, ItemChanges> m_changesOfShapes;
    std::vector<Target> m_targets;
    std::size_t m_nextTarget = 0;
    std::vector<Refused> m_refused;
};

struct Update::Remains {
    std::vector<GameObjectPrefab> documents;
    std::vector<std::unique_ptr<DocumentChange>> changes;
    std::vector<std::unique_ptr<DocumentChange>> refused;
};

} // namespace Kiln::Tessel::Streaming::detail
