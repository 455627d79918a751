#include <object_framework/entry_point.h>

#include <core/task_manager.h>
#include <object_framework/world.h>
#include <support/wait_for.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace Kiln::Tessel::FrameworkTests {
namespace {

using testing::ElementsAre;

class WorldRegister : public testing::Test {
protected:
    EntryPoint& entryPoint = EntryPoint::instance();
};

TEST_F(WorldRegister, createWorld_idsAreAscendingAndNotUsedAgain) {
    const int first = entryPoint.createWorld();
    const int second = entryPoint.createWorld();
    EXPECT_GT(first, 0);
    EXPECT_EQ(second, first + 1);
    entryPoint.destroyWorld(second);
    const int third = entryPoint.createWorld();
    EXPECT_EQ(third, second + 1);
    entryPoint.destroyWorld(first);
    entryPoint.destroyWorld(third);
}

TEST_F(WorldRegister, worldIds_areTheValidOnesAscending) {
    const std::vector<int> before = entryPoint.worldIds();
    const int first = entryPoint.createWorld();
    const int second = entryPoint.createWorld();
    const int third = entryPoint.createWorld();
    entryPoint.destroyWorld(second);
    std::vector<int> expected = before;
    expected.insert(expected.end(), {first, third});
    EXPECT_EQ(entryPoint.worldIds(), expected);
    entryPoint.destroyWorld(third);
    entryPoint.destroyWorld(first);
    EXPECT_EQ(entryPoint.worldIds(), before);
}

TEST_F(WorldRegister, findValidWorld_knowsLivingWorldsOnly) {
    const int id = entryPoint.createWorld();
    ASSERT_NE(entryPoint.findValidWorld(id), nullptr);
    EXPECT_EQ(entryPoint.findValidWorld(id)->id(), id);
    EXPECT_TRUE(entryPoint.isWorldValid(id));
    entryPoint.destroyWorld(id);
    EXPECT_EQ(entryPoint.findValidWorld(id), nullptr);
    EXPECT_FALSE(entryPoint.isWorldValid(id));
    for (const int unknown : {-1, 0, id + 1}) {
        EXPECT_FALSE(entryPoint.isWorldValid(unknown));
        EXPECT_EQ(entryPoint.findValidWorld(unknown), nullptr);
    }
}

TEST_F(WorldRegister, destroyWorld_unknownId_doesNothing) {
    const std::vector<int> before = entryPoint.worldIds();
    entryPoint.destroyWorld(-1);
    entryPoint.destroyWorld(0);
    entryPoint.destroyWorld(1000000);
    EXPECT_EQ(entryPoint.worldIds(), before);
}

class MainThreadPart final : public BackgroundTask {
public:
    explicit MainThreadPart(std::vector<int>& journal) : BackgroundTask("main thread part"), m_journal(journal) {}
    void doBackgroundTask(TaskManager& /*manager*/) override { requestMainThreadTask(); }
    void doMainThreadTask(TaskManager& /*manager*/) override { m_journal.push_back(1); }

private:
    std::vector<int>& m_journal;
};

TEST_F(WorldRegister, tick_runsMainThreadPartsOfFinishedTasksBeforeTheReactions) {
    std::vector<int> journal;
    const int id = entryPoint.createWorld();
    entryPoint.findValidWorld(id)->addTickReaction("g", "n", [&journal] { journal.push_back(2); });
    FileIOTaskManager::instance().addBackgroundTask(makeSmart<MainThreadPart>(journal), 0);
    ASSERT_TRUE(FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(20)));
    entryPoint.tick();
    EXPECT_THAT(journal, ElementsAre(1, 2));
    entryPoint.destroyWorld(id);
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
