#pragma once

#include <core/non_copyable.h>
#include <object_framework/game_object.h>
#include <tessel_streaming/budget/frame_budget.h>
#include <tessel_streaming/export.h>

#include <cstddef>
#include <deque>
#include <memory>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

class InstanceJob;

/// Deactivates an instance that is about to be removed: its root, and those of its objects that are elsewhere now.
KILN_TESSEL_STREAMING_EXPORT void hideInstance(GameObject root, const std::vector<GameObject>& objects) noexcept;

/// Removes objects from the last to the first until the deadline has passed, at least one. Returns whether none is
/// left. Handles whose world or object is gone are only dropped.
[[nodiscard]] KILN_TESSEL_STREAMING_EXPORT bool removeObjects(std::vector<GameObject>& objects,
                                                              const Tessel::detail::Deadline& deadline, UnitCost& cost);

/// Objects that are removed within the budget: those of complete instances from the last to the first, so that no step
/// removes a large subtree, and instances whose creation was given up.
///
/// Owner: the service. Main thread. A component may add to the list from its destructor.
class RemovalList : NonCopyable {
public:
    RemovalList();
    ~RemovalList();

    void add(std::vector<GameObject> objects);
    void add(std::unique_ptr<InstanceJob> job);
    [[nodiscard]] bool isEmpty() const noexcept { return m_entries.empty(); }
    [[nodiscard]] std::size_t size() const noexcept { return m_entries.size(); }

    /// Removes objects while the budget lasts, at least one. Objects of a world that is gone are only forgotten.
    void step(FrameBudget& budget);

    [[nodiscard]] UnitCost::Duration predictedStep() const noexcept { return m_cost.predicted(); }

private:
    struct Entry {
        std::vector<GameObject> objects;
        std::unique_ptr<InstanceJob> job;
    };

    std::deque<Entry> m_entries;
    UnitCost m_cost;
};

} // namespace Kiln::Tessel::Streaming::detail
