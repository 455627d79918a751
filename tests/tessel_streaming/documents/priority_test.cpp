#include "library_fixture.h"

#include <optional>

namespace Kiln::TestSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// One worker, which is blocked until run(): the order of reading is then that of the queue.
class PriorityTest : public LibraryFixture {
protected:
    PriorityTest() {
        tasks.setThreadCount(1);
        m_gate.emplace(tasks);
    }

    NeedId add(const std::string& path, int priority) { return library->add(path, priority, false); }

    void run() {
        m_gate->open();
        finishTasks();
    }

private:
    std::optional<TaskGate> m_gate;
};

TEST_F(PriorityTest, higherPriority_isReadFirst) {
    for (const char* path : {"low.prefab", "high.prefab", "middle.prefab"}) {
        write(path);
    }
    add("low.prefab", 10);
    add("high.prefab", 200);
    add("middle.prefab", 100);
    run();
    EXPECT_THAT(reads(), ElementsAre("high.prefab", "middle.prefab", "low.prefab"));
}

TEST_F(PriorityTest, samePriority_isReadInTheOrderOfTheRequests) {
    for (const char* path : {"first.prefab", "second.prefab", "third.prefab"}) {
        write(path);
        add(path, 96);
    }
    run();
    EXPECT_THAT(reads(), ElementsAre("first.prefab", "second.prefab", "third.prefab"));
}

TEST_F(PriorityTest, setPriority_movesAQueuedFile) {
    for (const char* path : {"first.prefab", "second.prefab", "third.prefab"}) {
        write(path);
    }
    add("first.prefab", 96);
    add("second.prefab", 96);
    const NeedId third = add("third.prefab", 96);
    library->setPriority(third, 97);
    run();
    EXPECT_THAT(reads(), ElementsAre("third.prefab", "first.prefab", "second.prefab"));
}

TEST_F(PriorityTest, setPriority_lower_movesAQueuedFileBack) {
    write("first.prefab");
    write("second.prefab");
    const NeedId first = add("first.prefab", 96);
    add("second.prefab", 96);
    library->setPriority(first, 95);
    run();
    EXPECT_THAT(reads(), ElementsAre("second.prefab", "first.prefab"));
}

TEST_F(PriorityTest, setPriority_whileAFileIsRead_countsForItsDependencies) {
    write("top.prefab", {"nested.prefab"});
    write("nested.prefab");
    write("other.prefab");
    const NeedId top = add("top.prefab", 96);
    add("other.prefab", 96);
    const auto note = HookComponent::onPreload;
    HookComponent::onPreload = [&](const HookComponent::Config& config) {
        note(config);
        if (config.tag == "top.prefab") {
            library->setPriority(top, 97);
        }
    };
    run();
    EXPECT_THAT(reads(), ElementsAre("top.prefab", "nested.prefab", "other.prefab"));
}

TEST_F(PriorityTest, dependency_hasThePriorityOfItsHighestWaiter) {
    write("top.prefab", {"shared.prefab"});
    write("shared.prefab");
    write("other.prefab");
    add("shared.prefab", 1);
    add("other.prefab", 96);
    add("top.prefab", 200);
    run();
    EXPECT_THAT(reads(), ElementsAre("top.prefab", "shared.prefab", "other.prefab"));
}

TEST_F(PriorityTest, samePath_hasThePriorityOfItsHighestNeed) {
    write("shared.prefab");
    write("other.prefab");
    add("shared.prefab", 1);
    add("other.prefab", 96);
    add("shared.prefab", 97);
    run();
    EXPECT_THAT(reads(), ElementsAre("shared.prefab", "other.prefab"));
}

TEST_F(PriorityTest, remove_ofTheHighestNeed_lowersThePriority) {
    write("shared.prefab");
    write("other.prefab");
    add("shared.prefab", 1);
    add("other.prefab", 96);
    const NeedId highest = add("shared.prefab", 97);
    library->remove(highest);
    run();
    EXPECT_THAT(reads(), ElementsAre("other.prefab", "shared.prefab"));
}

TEST_F(PriorityTest, underAFlood_aWaitingFileGainsALevelPerSixteenFiles) {
    write("waiting.prefab");
    add("waiting.prefab", 10);
    int added = 0;
    const auto addNext = [&] {
        const std::string path = "flood" + std::to_string(added++) + ".prefab";
        write(path);
        add(path, 12);
    };
    const auto note = HookComponent::onPreload;
    HookComponent::onPreload = [&](const HookComponent::Config& config) {
        note(config);
        if (added < 100) {
            addNext(); // There is always a newer file of a higher priority.
        }
    };
    addNext();
    run();
    const std::vector<std::string> order = reads();
    ASSERT_EQ(order.size(), 101u);
    // A flood file that is queued while the n-th file is read has a lead of 32 − n over the waiting one. That lead is
    // used up for the one that is queued while the 32nd is read: the older one of equal rank goes first.
    EXPECT_EQ(std::find(order.begin(), order.end(), "waiting.prefab") - order.begin(), 32);
}

TEST_F(PriorityTest, remove_ofTheLastNeed_dropsQueuedFiles) {
    write("first.prefab");
    write("second.prefab");
    const NeedId first = add("first.prefab", 96);
    add("second.prefab", 96);
    library->remove(first);
    EXPECT_EQ(library->counts().queuedFiles, 1u);
    EXPECT_THAT(library->needsOf("first.prefab"), IsEmpty());
    run();
    EXPECT_THAT(reads(), ElementsAre("second.prefab"));
    EXPECT_EQ(tasks.unfinishedTasks(), 0u);
}

TEST_F(PriorityTest, remove_ofOneNeed_leavesTheFilesOfTheOthers) {
    write("top.prefab", {"nested.prefab"});
    write("nested.prefab");
    const NeedId first = add("top.prefab", 96);
    const NeedId second = add("top.prefab", 96);
    const NeedId nested = add("nested.prefab", 96);
    library->remove(first);
    run();
    EXPECT_THAT(takeCompleted(), testing::UnorderedElementsAre(second, nested));
    EXPECT_THAT(reads(), ElementsAre("top.prefab", "nested.prefab"));
}

TEST_F(PriorityTest, remove_whileAFileIsRead_dropsWhatItNests) {
    write("top.prefab", {"nested.prefab"});
    write("nested.prefab");
    const NeedId top = add("top.prefab", 96);
    const auto note = HookComponent::onPreload;
    HookComponent::onPreload = [&](const HookComponent::Config& config) {
        note(config);
        library->remove(top);
    };
    run();
    EXPECT_THAT(reads(), ElementsAre("top.prefab"));
    EXPECT_THAT(takeCompleted(), IsEmpty());
    library->releaseUnused();
    EXPECT_EQ(library->counts().heldDocuments, 0u);
    EXPECT_FALSE(isCached("top.prefab"));
}

TEST_F(PriorityTest, addAgain_afterRemoveWhileTheFileIsRead_completes) {
    write("top.prefab", {"nested.prefab"});
    write("nested.prefab");
    const NeedId top = add("top.prefab", 96);
    NeedId again = 0;
    const auto note = HookComponent::onPreload;
    HookComponent::onPreload = [&](const HookComponent::Config& config) {
        note(config);
        if (config.tag == "top.prefab") {
            library->remove(top);
            again = add("top.prefab", 96);
        }
    };
    run();
    EXPECT_THAT(takeCompleted(), ElementsAre(again));
    EXPECT_THAT(reads(), ElementsAre("top.prefab", "nested.prefab"));
}

TEST_F(PriorityTest, unknownNeeds_areIgnored) {
    library->setPriority(17, 3);
    library->remove(17);
    EXPECT_FALSE(library->isComplete(17));
    EXPECT_EQ(library->totals(17).filesTotal, 0u);
    EXPECT_EQ(library->costs(17).cacheHits, 0u);
    run();
}

} // namespace
} // namespace Kiln::TestSupport
