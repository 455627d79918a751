#include "updates_fixture.h"

#include <atomic>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::Streaming::FailureCode;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

PrefabText lamp(const std::string& text) {
    PrefabText prefab;
    prefab.component("StateComponent", prefab.root(id(1), "lamp"), element("text", text));
    return prefab;
}

class Watching : public UpdatesFixture {
protected:
    Watching() {
        write("lamp.prefab", lamp("dim"));
        root = create("lamp.prefab");
    }

    GameObject root;
};

TEST_F(Watching, readsABurstOfSavesOnce) {
    for (int i = 0; i < 10; ++i) {
        write("lamp.prefab", lamp("save " + std::to_string(i)));
        poll();
    }
    EXPECT_THAT(updated, IsEmpty());
    settle();
    EXPECT_THAT(updated, SizeIs(1));
    EXPECT_EQ(textOf(root), "save 9");
    EXPECT_EQ(updates->documentsVersion(), 1U);
}

TEST_F(Watching, doesNotReadAFileThatIsBeingWritten) {
    const std::string text = lamp("bright").text();
    for (std::size_t written = text.size() / 10; written < text.size(); written += text.size() / 10) {
        write("lamp.prefab", text.substr(0, written));
        poll();
    }
    write("lamp.prefab", text);
    settle();
    EXPECT_EQ(textOf(root), "bright");
    EXPECT_THAT(refused, IsEmpty());
    EXPECT_THAT(updated, SizeIs(1));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Watching, refusesAVersionThatIsNotSoundOnceAndKeepsTheLastOne) {
    state(root)->state = 7;
    write("lamp.prefab", "<prefab>\n<formatVersion>1</formatVersion>\n<gameObjects>\n</prefab>\n");
    settle();
    settle();
    ASSERT_THAT(refused, SizeIs(1));
    EXPECT_EQ(refused[0].file, "lamp.prefab");
    ASSERT_THAT(refused[0].failures, SizeIs(1));
    EXPECT_EQ(refused[0].failures[0].code, FailureCode::MALFORMED_FILE);
    EXPECT_EQ(refused[0].failures[0].file, "lamp.prefab");
    EXPECT_EQ(refused[0].failures[0].line, 4U);
    EXPECT_THAT(refused[0].failures[0].chain, ElementsAre("lamp.prefab"));
    EXPECT_EQ(state(root)->state, 7);
    EXPECT_EQ(updates->documentsVersion(), 0U);
    write("lamp.prefab", lamp("bright"));
    settle();
    EXPECT_EQ(textOf(root), "bright");
    EXPECT_THAT(refused, SizeIs(1));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Watching, refusesEachVersionThatIsNotSound) {
    for (int i = 0; i < 3; ++i) {
        write("lamp.prefab", "<prefab>" + std::string(static_cast<std::size_t>(i), '\n'));
        settle();
    }
    EXPECT_THAT(refused, SizeIs(3));
}

TEST_F(Watching, reportsADeletedFileOnceAndReadsItWhenItComesBack) {
    std::filesystem::remove(directory.path() / "lamp.prefab");
    settle();
    settle();
    ASSERT_THAT(refused, SizeIs(1));
    ASSERT_THAT(refused[0].failures, SizeIs(1));
    EXPECT_EQ(refused[0].failures[0].code, FailureCode::MISSING_FILE);
    EXPECT_EQ(textOf(root), "dim");
    write("lamp.prefab", lamp("bright"));
    settle();
    EXPECT_EQ(textOf(root), "bright");
    EXPECT_THAT(refused, SizeIs(1));
    std::filesystem::remove(directory.path() / "lamp.prefab");
    settle();
    EXPECT_THAT(refused, SizeIs(2));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Watching, doesNothingForAFileThatDisappearsForAMoment) {
    std::filesystem::rename(directory.path() / "lamp.prefab", directory.path() / "away.prefab");
    poll();
    std::filesystem::rename(directory.path() / "away.prefab", directory.path() / "lamp.prefab");
    settle();
    EXPECT_THAT(refused, IsEmpty());
    EXPECT_THAT(updated, IsEmpty());
}

TEST_F(Watching, loadsAVersionWithUnknownComponents) {
    PrefabText text = lamp("bright");
    text.component("UnheardOfComponent", 0);
    write("lamp.prefab", text);
    settle();
    EXPECT_EQ(textOf(root), "bright");
    EXPECT_THAT(refused, IsEmpty());
}

TEST_F(Watching, doesNothingWhileItIsOff) {
    updates->watch(false);
    EXPECT_FALSE(updates->isWatching());
    write("lamp.prefab", lamp("bright"));
    settle();
    EXPECT_EQ(textOf(root), "dim");
    EXPECT_THAT(updated, IsEmpty());
    updates->watch(true);
    EXPECT_TRUE(updates->isWatching());
    settle();
    EXPECT_EQ(textOf(root), "bright") << "the change is found when watching begins again";
}

TEST_F(Watching, thatEndsDropsWhatWasFound) {
    write("lamp.prefab", lamp("bright"));
    poll();
    poll();
    updates->watch(false);
    settle();
    EXPECT_EQ(textOf(root), "dim");
    EXPECT_THAT(updated, IsEmpty());
}

TEST_F(Watching, pollsInIntervals) {
    poll();
    updates->setPollInterval(std::chrono::hours(1));
    write("lamp.prefab", lamp("bright"));
    settle();
    EXPECT_EQ(textOf(root), "dim");
    updates->setPollInterval(std::chrono::milliseconds(0));
    settle();
    EXPECT_EQ(textOf(root), "bright");
}

TEST_F(Watching, endsForInstancesWithoutRoot) {
    EXPECT_EQ(updates->followedCount(), 1U);
    Tessel::removeGameObject(root);
    EXPECT_EQ(updates->followedCount(), 0U);
    write("lamp.prefab", lamp("bright"));
    settle();
    EXPECT_THAT(updated, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Watching, endsForARequest) {
    const GameObject other = create("lamp.prefab");
    updates->unfollow(1);
    updates->unfollow(1);
    EXPECT_EQ(updates->followedCount(), 1U);
    write("lamp.prefab", lamp("bright"));
    settle();
    EXPECT_EQ(textOf(root), "dim");
    EXPECT_EQ(textOf(other), "bright");
}

TEST_F(Watching, canEndWhileAFileIsRead) {
    const auto block = std::make_shared<std::atomic<bool>>(true);
    HookComponent::onPreload = [block](const HookComponent::Config&) { EXPECT_TRUE(waitFor([&] { return !*block; })); };
    PrefabText text = lamp("bright");
    text.component("HookComponent", 0, element("tag", "slow"));
    write("lamp.prefab", text);
    frame();
    waitForWorkers();
    frame(); // Reads the file, and waits for the hook.
    updates.reset();
    *block = false;
    waitForWorkers();
    EXPECT_EQ(textOf(root), "dim");
}

} // namespace
} // namespace Kiln::TestSupport
