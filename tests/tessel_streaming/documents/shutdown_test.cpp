#include "library_fixture.h"

#include <thread>

namespace Kiln::TestSupport {
namespace {

using testing::ElementsAre;

class ShutdownTest : public LibraryFixture {};

TEST_F(ShutdownTest, shutdownOfTheTaskManager_completesQueuedFiles) {
    tasks.setThreadCount(1);
    write("lamp.prefab");
    write("buoy.prefab");
    TaskGate gate(tasks);
    const NeedId lamp = library->add("lamp.prefab", 96, false);
    const NeedId buoy = library->add("buoy.prefab", 96, false);
    std::thread shutdown([this] { tasks.shutdown(); });
    std::vector<NeedId> completed;
    while (completed.size() < 2) {
        library->takeCompleted(completed);
        std::this_thread::yield();
    }
    gate.open();
    shutdown.join();
    EXPECT_THAT(completed, ElementsAre(lamp, buoy));
    EXPECT_EQ(failureOf("lamp.prefab").code, FailureCode::SERVICE_ENDED);
    EXPECT_EQ(failureOf("lamp.prefab").message, "The process is ending.");
}

TEST_F(ShutdownTest, addAfterShutdown_completesAtOnce) {
    write("lamp.prefab");
    tasks.shutdown();
    const NeedId need = library->add("lamp.prefab", 96, false);
    EXPECT_THAT(takeCompleted(), ElementsAre(need));
    EXPECT_EQ(failureOf("lamp.prefab").code, FailureCode::SERVICE_ENDED);
}

TEST_F(ShutdownTest, shutdownWhileAFileIsRead_endsWhatItNests) {
    tasks.setThreadCount(1);
    write("top.prefab", {"nested.prefab"});
    write("nested.prefab");
    std::atomic<bool> isReading = false;
    HookComponent::onPreload = [&](const HookComponent::Config&) {
        isReading = true;
        isReading.notify_all();
        while (!BackgroundTaskThread::current()->isStopping()) {
            std::this_thread::yield();
        }
    };
    const NeedId top = library->add("top.prefab", 96, false);
    isReading.wait(false);
    tasks.shutdown();
    EXPECT_THAT(takeCompleted(), ElementsAre(top));
    EXPECT_NE(library->find("top.prefab")->prefab(), nullptr);
    EXPECT_EQ(failureOf("nested.prefab").code, FailureCode::SERVICE_ENDED);
}

TEST_F(ShutdownTest, libraryDestroyedWhileFilesAreRead_leavesNothingInTheCache) {
    std::vector<std::string> nested;
    for (int i = 0; i < 30; ++i) {
        nested.push_back("file" + std::to_string(i) + ".prefab");
        write(nested.back());
    }
    write("top.prefab", nested);
    for (std::size_t started = 0; started < 8; ++started) {
        std::atomic<std::size_t> readsCount = 0;
        HookComponent::onPreload = [&](const HookComponent::Config&) {
            ++readsCount;
            readsCount.notify_all();
        };
        library = std::make_unique<DocumentLibrary>(service(), tasks, tracer);
        static_cast<void>(library->add("top.prefab", 96, false));
        for (std::size_t count = readsCount; count < started; count = readsCount) {
            readsCount.wait(count);
        }
        library.reset();
        finishTasks();
        EXPECT_FALSE(isCached("top.prefab"));
        for (const std::string& path : nested) {
            EXPECT_FALSE(isCached(path)) << path;
        }
    }
}

TEST_F(ShutdownTest, libraryDestroyedWhileTheHookRuns_waitsForIt) {
    write("lamp.prefab");
    std::atomic<bool> isInHook = false;
    std::atomic<bool> isReleased = false;
    tracer.setHook([&](const Tessel::Streaming::TraceEvent&) {
        isInHook = true;
        isInHook.notify_all();
        isReleased.wait(false);
    });
    static_cast<void>(library->add("lamp.prefab", 96, false));
    isInHook.wait(false);
    std::atomic<bool> isDestroyed = false;
    std::thread destruction([&] {
        library.reset();
        isDestroyed = true;
    });
    EXPECT_FALSE(isDestroyed);
    isReleased = true;
    isReleased.notify_all();
    destruction.join();
    EXPECT_TRUE(isDestroyed);
}

TEST_F(ShutdownTest, randomOperations_leaveNothingBehind) {
    constexpr std::size_t COUNT = 20;
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < COUNT; ++i) {
        paths.push_back("file" + std::to_string(i) + ".prefab");
    }
    for (std::size_t i = 0; i < COUNT; ++i) {
        if (i % 5 != 0) { // Every fifth is missing.
            write(paths[i], {paths[(i * 3 + 1) % COUNT], paths[(i * 7 + 2) % COUNT]});
        }
    }
    std::uint32_t state = 12345;
    const auto random = [&state](std::size_t limit) {
        state = state * 1664525u + 1013904223u;
        return (state >> 8) % limit;
    };
    std::vector<NeedId> needs;
    std::vector<NeedId> completed;
    for (int i = 0; i < 5000; ++i) {
        const std::size_t operation = random(10);
        if (operation < 4) {
            needs.push_back(library->add(paths[random(COUNT)], static_cast<int>(random(256)), random(8) == 0));
        } else if (operation < 7 && !needs.empty()) {
            std::swap(needs[random(needs.size())], needs.back());
            library->remove(needs.back());
            needs.pop_back();
        } else if (operation == 7 && !needs.empty()) {
            library->setPriority(needs[random(needs.size())], static_cast<int>(random(256)));
        } else if (operation == 8) {
            library->releaseUnused();
        } else {
            library->takeCompleted(completed);
            if (random(10) == 0) {
                Tessel::Loading::fullyClearCache();
            }
        }
    }
    finishTasks();
    for (const NeedId need : needs) {
        EXPECT_TRUE(library->isComplete(need));
        EXPECT_EQ(library->totals(need).filesRead, library->totals(need).filesTotal);
        EXPECT_EQ(library->totals(need).bytesRead, library->totals(need).bytesTotal);
        library->remove(need);
    }
    library->setKeptLimit(0);
    library->releaseUnused();
    finishTasks();
    EXPECT_EQ(library->counts().heldDocuments, 0u);
    EXPECT_EQ(library->counts().queuedFiles, 0u);
    EXPECT_EQ(library->counts().readingFiles, 0u);
    EXPECT_EQ(library->counts().keptBytes, 0u);
    for (const std::string& path : paths) {
        EXPECT_FALSE(isCached(path)) << path;
    }
}

} // namespace
} // namespace Kiln::TestSupport
