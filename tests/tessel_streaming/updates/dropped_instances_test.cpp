#include "updates_fixture.h"

#include <core/background_task.h>

#include <atomic>
#include <cstdint>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;

/// Occupies a worker until it is released.
class BlockingTask final : public BackgroundTask {
public:
    explicit BlockingTask(std::shared_ptr<std::atomic<bool>> isReleased)
        : BackgroundTask("BlockingTask"), m_isReleased(std::move(isReleased)) {}

    using BackgroundTask::doBackgroundTask;
    void doBackgroundTask(TaskManager& /*manager*/) override {
        EXPECT_TRUE(waitFor([this] { return m_isReleased->load(); }));
    }

private:
    std::shared_ptr<std::atomic<bool>> m_isReleased;
};

/// Instances whose items share one descriptor, and live updates whose only worker is busy.
class DroppedInstances : public UpdatesFixture {
protected:
    DroppedInstances() { tasks.addBackgroundTask(makeSmart<BlockingTask>(isReleased), 100); }
    ~DroppedInstances() override { *isReleased = true; }

    GameObject follow(std::uint64_t request, std::size_t itemsCount) {
        auto instance = std::make_unique<Tessel::Streaming::detail::FollowedInstance>();
        instance->request = request;
        instance->path = "many.prefab";
        instance->worldId = worldId;
        instance->root = manager().createGameObject();
        instance->items.assign(itemsCount, {descriptor, Uuid(), nullptr});
        instance->objects.resize(itemsCount);
        instance->uuids.resize(itemsCount);
        const GameObject root = instance->root;
        followers.follow(std::move(instance));
        return root;
    }

    /// Expects that the items exist until the worker is free.
    void expectDestructionOnWorker() {
        EXPECT_GT(descriptor->refCount(), 4096U);
        EXPECT_EQ(followers.followedCount(), 0U);
        *isReleased = true;
        EXPECT_TRUE(tasks.waitForIdle(std::chrono::seconds(60)));
        EXPECT_EQ(descriptor->refCount(), 1U);
    }

    std::shared_ptr<std::atomic<bool>> isReleased = std::make_shared<std::atomic<bool>>(false);
    SmartPointer<GameObjectDescriptor> descriptor = makeSmart<GameObjectDescriptor>();
    TaskManager tasks{"Dropped", 1};
    Tessel::Streaming::detail::LiveUpdates followers{library, tasks, tracer};
};

TEST_F(DroppedInstances, withFewItemsAreDestroyedAtOnce) {
    follow(1, 4095);
    EXPECT_EQ(descriptor->refCount(), 1U + 4095U);
    followers.unfollow(1);
    EXPECT_EQ(descriptor->refCount(), 1U);
}

TEST_F(DroppedInstances, withManyItemsAreDestroyedByAWorker) {
    follow(1, 4096);
    followers.unfollow(1);
    expectDestructionOnWorker();
}

TEST_F(DroppedInstances, ofARequestAreDestroyedByAWorkerTogether) {
    follow(1, 2048);
    follow(1, 2048);
    followers.unfollow(1);
    expectDestructionOnWorker();
}

TEST_F(DroppedInstances, ofADestroyedWorldAreDestroyedByAWorkerTogether) {
    follow(1, 2048);
    follow(2, 2048);
    followers.onWorldDestroyed(worldId);
    expectDestructionOnWorker();
}

TEST_F(DroppedInstances, withManyItemsWhoseRootIsRemovedAreDestroyedByAWorker) {
    const GameObject root = follow(1, 4096);
    Tessel::removeGameObject(root);
    followers.tick(budget);
    expectDestructionOnWorker();
}

} // namespace
} // namespace Kiln::TestSupport
