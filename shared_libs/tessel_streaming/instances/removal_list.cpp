#include <tessel_streaming/instances/removal_list.h>

#include <object_framework/game_object_manager.h>
#include <tessel_streaming/instances/instance_job.h>

#include <utility>

namespace Kiln::Tessel::Streaming::detail {

void hideInstance(GameObject root, const std::vector<GameObject>& objects) noexcept {
    const auto deactivate = [](GameObject object) {
        try {
            GameObjectManager* const manager = getGameObjectManager(object);
            if (manager && manager->isActive(object)) {
                manager->deactivateGameObject(object);
            }
        } catch (...) { // NOLINT(bugprone-empty-catch): the objects are removed all the same.
        }
    };
    deactivate(root);
    for (const GameObject object : objects) {
        deactivate(object);
    }
}

namespace {

/// Removes the last object, or puts its children behind it so that they come first.
void removeLast(std::vector<GameObject>& objects) {
    const GameObject object = objects.back();
    if (GameObjectManager* const manager = getGameObjectManager(object)) {
        const std::vector<GameObject> children = manager->getChildren(object);
        if (!children.empty()) {
            objects.insert(objects.end(), children.begin(), children.end());
            return;
        }
    }
    objects.pop_back();
    removeGameObject(object);
}

} // namespace

bool removeObjects(std::vector<GameObject>& objects, const Tessel::detail::Deadline& deadline, UnitCost& cost) {
    const FrameBudget::Clock::time_point begin = FrameBudget::Clock::now();
    std::size_t count = 0;
    while (!objects.empty()) {
        try {
            removeLast(objects);
        } catch (...) { // NOLINT(bugprone-empty-catch): the other objects are removed all the same.
        }
        ++count;
        if (deadline.hasPassed()) {
            break;
        }
    }
    cost.note(FrameBudget::Clock::now() - begin, count);
    return objects.empty();
}

RemovalList::RemovalList() = default;
RemovalList::~RemovalList() = default;

void RemovalList::add(std::vector<GameObject> objects) {
    if (!objects.empty()) {
        m_entries.push_back({std::move(objects), nullptr});
    }
}

void RemovalList::add(std::unique_ptr<InstanceJob> job) {
    m_entries.push_back({{}, std::move(job)});
}

void RemovalList::step(FrameBudget& budget) {
    // Take the entry out: a component may add others, or end up here again.
    Entry entry = std::move(m_entries.front());
    m_entries.pop_front();
    const Tessel::detail::Deadline deadline = budget.deadlineFor(m_cost.predicted());
    const bool isDone =
        entry.job ? entry.job->remove(deadline, m_cost) : removeObjects(entry.objects, deadline, m_cost);
    if (!isDone) {
        m_entries.push_front(std::move(entry));
    }
}

} // namespace Kiln::Tessel::Streaming::detail
