#pragma once

#include <core/non_copyable.h>
#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <memory>
#include <string>

namespace Kiln::Tessel::detail {

/// Brackets a function that walks through nested prefabs, to cache them or to preload their data.
///
/// Such functions call each other and follow every path to a nested prefab, so that the number of visits can be a high
/// power of the number of integration points. The outermost one on a thread starts a walk, and those that it calls join
/// it. Their visits are counted together; see PrefabLimits::walkVisits.
///
/// Threads: one; each thread has its own current walk.
class KILN_TESSEL_ASSET_LOADING_EXPORT WalkAhead : NonCopyable {
public:
    enum class Purpose { CACHING, PRELOADING };

    /// The path or the prefab names the walk in its warning if this starts it; it must outlive this.
    explicit WalkAhead(const std::string& path) : WalkAhead(&path, nullptr) {}
    explicit WalkAhead(const GameObjectPrefab& prefab) : WalkAhead(nullptr, &prefab) {}

    /// Ends the walk if this has started it. If visits were skipped, logs one warning.
    ~WalkAhead();

    /// Counts a visit of the prefab that a node names. Returns false if the visit has to be skipped.
    ///
    /// The first node's own reference is not counted if the node is a root: the root of a prefab that was loaded by
    /// path names that path, so every visit is followed by one of the same prefab, down to the depth limit.
    [[nodiscard]] bool enter(Purpose purpose, const std::string& path, int depth, bool isOfFirstRoot);

    /// Whether the walk has to end early because the process is ending.
    [[nodiscard]] bool isStopping() const noexcept;

private:
    struct State;

    WalkAhead(const std::string* path, const GameObjectPrefab* prefab);

    void reportSkipped() const;

    const std::string* m_path; ///< Null if the prefab is known instead.
    const GameObjectPrefab* m_prefab;
    std::unique_ptr<State> m_own; ///< Null if this has joined a walk.
    State* m_state;               ///< Of the walk.
};

} // namespace Kiln::Tessel::detail
