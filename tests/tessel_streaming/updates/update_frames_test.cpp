#include "updates_fixture.h"

#include <support/failing_allocation.h>

#include <algorithm>
#include <new>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A root with `count` children, named after the text that their components have.
PrefabText row(std::size_t count, const std::string& text) {
    PrefabText prefab;
    prefab.component("StateComponent", prefab.root(id(1), "row"), element("text", text));
    for (std::size_t i = 0; i < count; ++i) {
        prefab.component("StateComponent", prefab.child(id(10 + i), "seat " + std::to_string(i), id(1)),
                         element("text", text));
    }
    return prefab;
}

/// Updates that take several frames, because the budget allows only one step per frame.
class UpdateFrames : public UpdatesFixture {
protected:
    UpdateFrames() {
        write("row.prefab", row(3, "old"));
        first = create("row.prefab");
        second = create("row.prefab");
        budget.set(std::chrono::microseconds(0));
    }

    /// Writes a version and runs frames until it is being prepared: new objects exist already.
    void beginUpdate(const PrefabText& text) {
        const std::size_t before = manager().gameObjectsCount();
        write("row.prefab", text);
        for (int i = 0; i < 1000 && manager().gameObjectsCount() == before; ++i) {
            poll();
        }
        ASSERT_GT(manager().gameObjectsCount(), before);
        ASSERT_THAT(updated, IsEmpty());
    }

    /// Returns the number of frames.
    int finishUpdate() {
        int frames = 0;
        for (; frames < 1000 && updated.empty() && refused.empty(); ++frames) {
            poll();
        }
        return frames;
    }

    [[nodiscard]] std::size_t activeObjects() const {
        const std::vector<GameObject> objects = manager().gameObjects();
        return static_cast<std::size_t>(std::count_if(
            objects.begin(), objects.end(), [this](GameObject object) { return manager().isActive(object); }));
    }

    GameObject first;
    GameObject second;
};

TEST_F(UpdateFrames, prepareStepByStepAndBecomeVisibleInOne) {
    beginUpdate(row(5, "new"));
    int frames = 0;
    while (updated.empty() && ++frames < 1000) {
        EXPECT_EQ(activeObjects(), 8U);
        EXPECT_THAT(manager().getChildren(first), SizeIs(3));
        EXPECT_EQ(textOf(in(first, "seat 0")), "old");
        EXPECT_EQ(textOf(in(second, "seat 0")), "old");
        poll();
    }
    EXPECT_GT(frames, 10);
    EXPECT_EQ(activeObjects(), 12U);
    EXPECT_THAT(updated, SizeIs(2));
    for (const GameObject root : {first, second}) {
        EXPECT_EQ(textOf(in(root, "seat 0")), "new");
        EXPECT_EQ(textOf(in(root, "seat 4")), "new");
    }
}

TEST_F(UpdateFrames, withChangedValuesBecomeVisibleInOne) {
    write("row.prefab", row(3, "new"));
    int frames = 0;
    while (updated.empty() && ++frames < 1000) {
        EXPECT_EQ(textOf(in(first, "seat 2")), textOf(in(second, "seat 0")));
        poll();
    }
    EXPECT_EQ(textOf(in(first, "seat 2")), "new");
    EXPECT_EQ(textOf(in(second, "seat 0")), "new");
    EXPECT_THAT(updated, SizeIs(2));
}

TEST_F(UpdateFrames, skipAnInstanceWhoseRootIsRemoved) {
    beginUpdate(row(5, "new"));
    Tessel::removeGameObject(first);
    finishUpdate();
    ASSERT_THAT(updated, SizeIs(1));
    EXPECT_EQ(updated[0].root, second);
    EXPECT_EQ(manager().gameObjectsCount(), 6U);
}

TEST_F(UpdateFrames, removeWhatWasPreparedForAnInstanceThatIsNotFollowedAnyMore) {
    beginUpdate(row(5, "new"));
    updates->unfollow(1);
    finishUpdate();
    ASSERT_THAT(updated, SizeIs(1));
    EXPECT_EQ(updated[0].root, second);
    EXPECT_EQ(manager().gameObjectsCount(), 4U + 6U);
    EXPECT_EQ(textOf(in(first, "seat 0")), "old");
}

TEST_F(UpdateFrames, endWhenTheWorldIsDestroyed) {
    beginUpdate(row(5, "new"));
    Tessel::EntryPoint::instance().destroyWorld(worldId);
    updates->onWorldDestroyed(worldId);
    for (int i = 0; i < 100; ++i) {
        poll();
    }
    EXPECT_THAT(updated, IsEmpty());
    EXPECT_THAT(refused, IsEmpty());
    EXPECT_EQ(updates->followedCount(), 0U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(UpdateFrames, leaveNothingBehindWhenTheyAreDropped) {
    beginUpdate(row(5, "new"));
    updates.reset();
    EXPECT_EQ(manager().gameObjectsCount(), 8U);
}

TEST_F(UpdateFrames, leaveNothingBehindWhenThereIsNoMemory) {
    std::size_t failures = 0;
    for (bool hasFailed = true; hasFailed; failures += hasFailed ? 1 : 0) {
        beginUpdate(row(9 + failures, "new"));
        // The ninth object is the first one for which the lists of the preparation need more memory.
        for (int i = 0; i < 1000 && manager().gameObjectsCount() < 8 + 4; ++i) {
            poll();
        }
        hasFailed = false;
        budget.beginFrame();
        try {
            const AllocationFault fault(failures, AllocationFault::Duration::ONCE);
            updates->tick(budget);
        } catch (const std::bad_alloc&) {
            hasFailed = true;
        }
        EXPECT_EQ(manager().gameObjectsCount(), hasFailed ? 8U : 8U + 5U);
    }
    EXPECT_GT(failures, 0U);
    finishUpdate();
    EXPECT_THAT(updated, SizeIs(2));
}

TEST_F(UpdateFrames, includeInstancesThatWereCreatedFromTheOlderDocuments) {
    const std::uint64_t older = updates->documentsVersion();
    Options options;
    options.documentsVersion = older;
    beginUpdate(row(5, "new"));
    // As if its creation had begun before: it has the objects of the newer version, so nothing changes.
    const GameObject third = create("row.prefab", options);
    finishUpdate();
    EXPECT_THAT(updated, SizeIs(2));
    EXPECT_THAT(manager().getChildren(third), SizeIs(5));
}

TEST_F(UpdateFrames, ofAnInstanceThatIsFollowedTooLateBeginAtOnce) {
    budget.set(Tessel::Streaming::NO_FRAME_BUDGET);
    const std::uint64_t older = updates->documentsVersion();
    auto late = makeInstance("row.prefab");
    late->request = 9;
    late->documentsVersion = older;
    const GameObject root = late->root;
    write("row.prefab", row(4, "new"));
    settle();
    ASSERT_THAT(updated, SizeIs(2));
    ASSERT_EQ(updates->documentsVersion(), older + 1);
    updates->follow(std::move(late));
    frame();
    ASSERT_THAT(updated, SizeIs(3));
    EXPECT_EQ(updated[2].root, root);
    EXPECT_THAT(updated[2].files, ElementsAre("row.prefab"));
    EXPECT_EQ(textOf(in(root, "seat 3")), "new");
    frame();
    EXPECT_THAT(updated, SizeIs(3));
}

TEST_F(UpdateFrames, countAnOverrunOfTheBudgetWhileTheyArePrepared) {
    beginUpdate(row(5, "new"));
    Tessel::Streaming::Statistics statistics;
    budget.fill(statistics);
    ASSERT_FALSE(statistics.overruns.empty());
    EXPECT_EQ(statistics.overruns.back().step, "update preparation");
    EXPECT_EQ(statistics.overruns.back().path, "row.prefab");
}

TEST_F(UpdateFrames, countAsWorkUntilNothingIsLeftToDo) {
    poll();
    EXPECT_FALSE(hasWorked) << "a poll is no work";
    beginUpdate(row(5, "new"));
    for (int i = 0; i < 1000 && updated.empty(); ++i) {
        poll();
        ASSERT_TRUE(hasWorked);
    }
    poll();
    EXPECT_FALSE(hasWorked);
    write("row.prefab", "<prefab>");
    for (int i = 0; i < 1000 && refused.empty(); ++i) {
        EXPECT_FALSE(hasWorked);
        poll();
    }
    EXPECT_TRUE(hasWorked) << "a listener was called";
    poll();
    EXPECT_FALSE(hasWorked);
}

TEST_F(UpdateFrames, countAnOverrunOfTheBudget) {
    write("row.prefab", row(3, "new"));
    finishUpdate();
    Tessel::Streaming::Statistics statistics;
    budget.fill(statistics);
    ASSERT_FALSE(statistics.overruns.empty());
    EXPECT_EQ(statistics.overruns.back().step, "update");
    EXPECT_EQ(statistics.overruns.back().path, "row.prefab");
}

} // namespace
} // namespace Kiln::TestSupport
