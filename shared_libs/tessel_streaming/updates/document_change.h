#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_serialization/game_object_descriptor.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/game_object_prefab/deadline.h>
#include <tessel_foundation/component.h>
#include <tessel_streaming/documents/loaded_file.h>
#include <tessel_streaming/load_result.h>

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// What differs between two descriptors of one component type.
struct ComponentChange {
    ComponentTypeId type = 0;
    SmartPointer<IComponentDescriptor> newer; ///< Null if the component was removed.
};

/// What differs between two descriptors of one game object.
struct NodeChange {
    SmartPointer<GameObjectDescriptor> older;
    SmartPointer<GameObjectDescriptor> newer;
    bool isRenamed = false;
    bool areFlagsChanged = false;
    std::vector<ComponentChange> components;

    /// False if only the order of the components differs, which has no effect on live objects.
    [[nodiscard]] bool affectsObjects() const noexcept { return isRenamed || areFlagsChanged || !components.empty(); }
};

/// The difference between two versions of a document. Descriptors of the newer version that equal those of the older
/// one are replaced by these, so that equal pointers mean that nothing has changed. So are the component descriptors of
/// nodes that differ.
///
/// Owner: the update. Threads: the main thread; nobody else may use the newer document yet.
class DocumentChange : NonCopyable {
public:
    /// Both files have documents.
    DocumentChange(SmartPointer<LoadedFile> older, SmartPointer<LoadedFile> newer);

    /// Compares until the deadline has passed, but at least one node. Returns whether the comparison is complete; the
    /// newer document then has the shared descriptors.
    bool compare(const Tessel::detail::Deadline& deadline);

    [[nodiscard]] const std::string& path() const noexcept { return m_newer->path; }
    [[nodiscard]] const LoadedFile& older() const noexcept { return *m_older; }
    [[nodiscard]] const SmartPointer<LoadedFile>& newer() const noexcept { return m_newer; }

    /// Whether the versions are equal.
    [[nodiscard]] bool isEmpty() const noexcept { return !m_isStructural && m_changes.empty(); }

    /// Whether nodes were added, removed or moved in the list, have another parent, or nest something else.
    [[nodiscard]] bool isStructural() const noexcept { return m_isStructural; }

    /// Whether the root has changed, which other prefabs merge with the points where they nest this one.
    [[nodiscard]] bool isRootChanged() const noexcept { return m_isRootChanged; }

    /// The nodes of the older version that are also in the newer one and differ.
    [[nodiscard]] const std::vector<NodeChange>& changes() const noexcept { return m_changes; }

    /// Why no instance can be created from the newer version, whatever it nests. Complete when the comparison is.
    [[nodiscard]] std::vector<LoadFailure> findFailures() const;

    /// The descriptors that are not used any more. To be destroyed where that may take long.
    [[nodiscard]] GameObjectPrefab takeUnused() noexcept { return std::move(m_unused); }

private:
    void indexNext();
    void compareNext();
    void check(const GameObjectDescriptor& newer);
    void finish();
    [[nodiscard]] SmartPointer<GameObjectDescriptor> findOlder(const GameObjectDescriptor& newer);
    [[nodiscard]] SmartPointer<GameObjectDescriptor> share(const SmartPointer<GameObjectDescriptor>& older,
                                                           const SmartPointer<GameObjectDescriptor>& newer);
    void classify(const NodeChange& change);

    SmartPointer<LoadedFile> m_older;
    SmartPointer<LoadedFile> m_newer;
    std::size_t m_nextNode = 0;

    /// Nodes of the older version by UUID; complete once a node was not found at its own index.
    std::unordered_map<Uuid, std::size_t> m_index;
    bool m_isIndexing = false;
    std::size_t m_nextIndexed = 0;

    std::unordered_set<Uuid> m_newerUuids;
    std::optional<Uuid> m_duplicate; ///< The first UUID that two nodes of the newer version have.
    std::size_t m_rootsCount = 0;    ///< Of the newer version.

    std::vector<SmartPointer<GameObjectDescriptor>> m_shared; ///< The newer version's nodes so far.
    std::vector<NodeChange> m_changes;
    bool m_isStructural = false;
    bool m_isRootChanged = false;
    GameObjectPrefab m_unused;
};

} // namespace Kiln::Tessel::Streaming::detail
