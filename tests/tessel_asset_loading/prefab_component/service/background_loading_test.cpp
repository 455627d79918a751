#include <tessel_asset_loading/support/service_fixture.h>

#include <core/profiler.h>
#include <object_framework/hierarchy_component.h>
#include <tessel_asset_loading/prefab_component/service/prefab_load_task.h>

#include <mutex>
#include <stdexcept>

namespace Kiln::TestSupport {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* VERSION_MISMATCH =
    "5: Failed to deserialize prefab. Format version mismatch. Current version: 1. Prefab version: 2. Content "
    "conversion is required.";

constexpr const char* BACKGROUND_TOO_DEEP =
    "5: Nested prefabs depth has exceeded limit. It can be result of recursive references. (backgroundLoad)";

/// The task that a load submits to the file-I/O workers.
class BackgroundLoading : public ServiceFixture {
protected:
    /// What was preloaded, on which thread and within which operations.
    struct Preload {
        std::string tag;
        std::thread::id thread;
        std::vector<std::string> trail;
    };

    BackgroundLoading() {
        HookComponent::onPreload = [this](const HookComponent::Config& config) {
            const std::scoped_lock lock(m_mutex);
            m_preloads.push_back({config.tag, std::this_thread::get_id(), currentTrail()});
        };
    }

    [[nodiscard]] std::vector<Preload> preloads() const {
        const std::scoped_lock lock(m_mutex);
        return m_preloads;
    }
    [[nodiscard]] std::vector<std::string> preloadedTags() const {
        std::vector<std::string> tags;
        for (const Preload& preload : preloads()) {
            tags.push_back(preload.tag);
        }
        return tags;
    }

    /// A document whose root has no PrefabComponent, so that nothing is walked twice.
    [[nodiscard]] static SmartPointer<DataSection> hookedSection(const std::string& tag) {
        PrefabText prefab;
        prefab.component("HookComponent", prefab.root(id(1), tag), element("tag", tag));
        return prefab.section();
    }

    /// A document with a hook at its root and an integration point.
    [[nodiscard]] static SmartPointer<DataSection> nestingSection(const std::string& tag, const std::string& resource) {
        PrefabText prefab;
        prefab.component("HookComponent", prefab.root(id(1), tag), element("tag", tag));
        prefab.nested(id(2), "Point", id(1), resource);
        return prefab.section();
    }

    /// Runs the task of a load from a section; returns where the document arrived. The service itself submits such
    /// tasks with `loadNested` only.
    [[nodiscard]] static SmartPointer<Tessel::DescriptorCacheData>
    runSectionTask(const SmartPointer<DataSection>& section, bool loadNested) {
        const auto descriptor = makeSmart<Tessel::DescriptorCacheData>();
        Tessel::PrefabLoadTask::submit(makeSmart<Tessel::PrefabLoadTask>(section, descriptor, loadNested));
        waitForWorkers();
        return descriptor;
    }

private:
    mutable std::mutex m_mutex; ///< Guards m_preloads.
    std::vector<Preload> m_preloads;
};

TEST_F(BackgroundLoading, loadByPath_preloadsOnWorker) {
    writeHookedRoot("lamp.prefab", "lamp");

    load("lamp.prefab");
    waitForWorkers();

    ASSERT_THAT(preloads(), SizeIs(42)); // Six background loads of seven depths: the root names its own file.
    EXPECT_NE(preloads()[0].thread, std::this_thread::get_id());
}

TEST_F(BackgroundLoading, loadFromSection_preloadsOnceOnWorker) {
    loadSection(hookedSection("lamp"));
    waitForWorkers();

    ASSERT_THAT(preloadedTags(), ElementsAre("lamp"));
    EXPECT_NE(preloads()[0].thread, std::this_thread::get_id());
}

TEST_F(BackgroundLoading, loadFromSection_nestedPrefab_isCachedAndPreloaded) {
    PrefabText outer;
    outer.root(id(1), "Outer");
    outer.nested(id(2), "Point", id(1), "inner.prefab");
    cachePrefab("inner.prefab", PrefabBuilder().root(id(1)).with<HookComponent>({"inner"}));

    loadSection(outer.section());
    waitForWorkers();

    EXPECT_THAT(preloadedTags(), ElementsAre("inner"));
}

TEST_F(BackgroundLoading, loadFromSection_walkStartsAtDepthZero) {
    PrefabBuilder self;
    self.root(id(1)).with<HookComponent>({"self"}).nested(id(2), "Point", id(1), "self.prefab");
    cachePrefab("self.prefab", self);

    loadSection(nestingSection("outer", "self.prefab"));
    waitForWorkers();

    // The document at depth 0, then "self.prefab" at depths 1 to 6, where its own reference is refused.
    EXPECT_THAT(preloadedTags(), ElementsAre("outer", "self", "self", "self", "self", "self", "self"));
    EXPECT_THAT(logged(), ElementsAre(BACKGROUND_TOO_DEEP));
}

TEST_F(BackgroundLoading, sectionTask_withLoadNested_preloadsAndWalksNestedPrefabs) {
    cachePrefab("inner.prefab", PrefabBuilder().root(id(1)).with<HookComponent>({"inner"}));

    const auto descriptor = runSectionTask(nestingSection("outer", "inner.prefab"), true);

    ASSERT_NE(descriptor->prefab.get(), nullptr);
    EXPECT_EQ(descriptor->prefab->nodesCount(), 2U);
    EXPECT_THAT(preloadedTags(), ElementsAre("outer", "inner"));
}

TEST_F(BackgroundLoading, sectionTask_withoutLoadNested_parsesOnly) {
    writeHookedRoot("inner.prefab", "inner");

    const auto descriptor = runSectionTask(nestingSection("outer", "inner.prefab"), false);

    ASSERT_NE(descriptor->prefab.get(), nullptr);
    EXPECT_EQ(descriptor->prefab->nodesCount(), 2U);
    EXPECT_THAT(preloads(), IsEmpty());
    // The nested file has not been read, so its later content counts.
    writeHookedRoot("inner.prefab", "changed");
    const Tessel::GameObjectPrefab* const inner = service().loadPrefabData("inner.prefab");
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->getGameObject(0)->name(), "changed");
}

TEST_F(BackgroundLoading, loadDescriptor_withoutBackgroundLoad_cachesNestedPrefabsWithoutPreloading) {
    PrefabText outer;
    outer.root(id(1), "Outer");
    outer.nested(id(2), "Point", id(1), "inner.prefab");
    writePrefab("outer.prefab", outer);
    writeHookedRoot("inner.prefab", "inner");

    service().loadDescriptor(
        "outer.prefab", [](Tessel::GameObjectPrefab*) {}, false);
    waitForWorkers();

    writeHookedRoot("inner.prefab", "changed");
    const Tessel::GameObjectPrefab* const inner = service().loadPrefabData("inner.prefab");
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->getGameObject(0)->name(), "inner");
    EXPECT_THAT(preloads(), IsEmpty());
}

TEST_F(BackgroundLoading, loadFromSection_documentIsNotCached) {
    WorkerGate gate;
    loadSection(hookedSection("lamp"));
    const Tessel::DescriptorCacheData& descriptor = lastDescriptor();
    EXPECT_EQ(descriptor.refCount(), 2U); // The loader and the task.
    EXPECT_EQ(descriptor.prefab.get(), nullptr);
    gate.open();
    waitForWorkers();

    EXPECT_EQ(descriptor.refCount(), 1U);
    EXPECT_NE(descriptor.prefab.get(), nullptr);
    EXPECT_THAT(descriptor.pendingWorlds, IsEmpty());
}

TEST_F(BackgroundLoading, loadFromSection_unreadableDocument_isReportedAndEmpty) {
    PrefabText prefab;
    prefab.component("HookComponent", prefab.root(id(1), "Lamp"), element("tag", "lamp"));
    prefab.formatVersion(2);

    loadSection(prefab.section());
    waitForWorkers();

    EXPECT_THAT(logged(), ElementsAre(VERSION_MISMATCH));
    ASSERT_NE(lastDescriptor().prefab.get(), nullptr);
    EXPECT_TRUE(lastDescriptor().prefab->isEmpty());
    EXPECT_THAT(preloads(), IsEmpty());
}

TEST_F(BackgroundLoading, loadByPath_missingFile_leavesNullAndIsReportedOnce) {
    load("none.prefab");
    waitForWorkers();

    EXPECT_EQ(lastDescriptor().prefab.get(), nullptr);
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found none.prefab"));
}

TEST_F(BackgroundLoading, loadByPath_fillsCacheEntryOfThePath) {
    writeRoot("lamp.prefab", "Lamp");

    load("lamp.prefab");
    waitForWorkers();

    EXPECT_EQ(service().loadSharedPrefab("lamp.prefab").get(), &lastDescriptor());
    EXPECT_NE(lastDescriptor().prefab.get(), nullptr);
}

TEST_F(BackgroundLoading, loadByPath_nestedPrefabs_areCachedToo) {
    PrefabText outer;
    outer.root(id(1), "Outer");
    outer.nested(id(2), "Point", id(1), "inner.prefab");
    writePrefab("outer.prefab", outer);
    writeRoot("inner.prefab", "Inner");

    load("outer.prefab");
    waitForWorkers();

    writeRoot("inner.prefab", "Changed");
    const Tessel::GameObjectPrefab* const inner = service().loadPrefabData("inner.prefab");
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->getGameObject(0)->name(), "Inner");
}

TEST_F(BackgroundLoading, loadDescriptor_withoutBackgroundLoad_doesNotPreload) {
    writeHookedRoot("lamp.prefab", "lamp");

    service().loadDescriptor(
        "lamp.prefab", [](Tessel::GameObjectPrefab*) {}, false);
    waitForWorkers();

    EXPECT_NE(service().loadPrefabData("lamp.prefab"), nullptr);
    EXPECT_THAT(preloads(), IsEmpty());
}

TEST_F(BackgroundLoading, loadDescriptor_withBackgroundLoad_preloadsOnWorker) {
    writeHookedRoot("lamp.prefab", "lamp");

    service().loadDescriptor(
        "lamp.prefab", [](Tessel::GameObjectPrefab*) {}, true);
    waitForWorkers();

    ASSERT_THAT(preloads(), SizeIs(42));
    EXPECT_NE(preloads()[0].thread, std::this_thread::get_id());
}

TEST_F(BackgroundLoading, publishedDocument_isCreatedFromWhilePreloadsAreStillRunning) {
    writeHookedRoot("lamp.prefab", "lamp");
    std::atomic<bool> isPreloading = false;
    std::atomic<bool> mayEnd = false;
    HookComponent::onPreload = [&](const HookComponent::Config&) {
        isPreloading = true;
        isPreloading.notify_all();
        mayEnd.wait(false);
    };
    load("lamp.prefab");
    isPreloading.wait(false);

    tick();

    EXPECT_EQ(namesOf(manager(), manager().gameObjects()), std::vector<std::string>{"lamp"});
    mayEnd = true;
    mayEnd.notify_all();
    waitForWorkers();
}

TEST_F(BackgroundLoading, exceptionOfPreload_isReportedUnderTheTaskName) {
    HookComponent::onPreload = [](const HookComponent::Config&) { throw std::runtime_error("no such texture"); };

    loadSection(hookedSection("lamp"));
    finishLoads();

    EXPECT_EQ(log.count("Background task 'GameObjectLoadTask' failed: no such texture"), 1U);
    EXPECT_THAT(queued(), IsEmpty()); // The document had been published before.
}

/// Records when it runs in relation to the loads.
class MarkerTask final : public BackgroundTask {
public:
    explicit MarkerTask(std::function<void()> run) : BackgroundTask("MarkerTask"), m_run(std::move(run)) {}
    using BackgroundTask::doBackgroundTask;
    void doBackgroundTask(TaskManager& /*manager*/) override { m_run(); }

private:
    std::function<void()> m_run;
};

TEST_F(BackgroundLoading, loads_havePriority96InOrderOfSubmission) {
    const auto submit = [](const std::string& tag, int priority) {
        const auto run = [tag] { HookComponent::preload({tag}); };
        FileIOTaskManager::instance().addBackgroundTask(makeSmart<MarkerTask>(run), priority);
    };
    writeHookedRoot("path.prefab", "path");
    {
        WorkerGate gate;
        submit("95", 95);
        submit("96 before", 96);
        loadSection(hookedSection("section"));
        service().loadDescriptor(
            "path.prefab", [](Tessel::GameObjectPrefab*) {}, false);
        load("late.prefab"); // Missing, and so visible in the log only.
        submit("96 after", 96);
        submit("97", 97);
    }

    EXPECT_THAT(preloadedTags(), ElementsAre("97", "96 before", "section", "96 after", "95"));
}

/// Scopes that the profiler hooks get, and the preloads in them, with their threads.
struct ProfiledScopes {
    static inline std::mutex mutex; ///< Guards the lines.
    static inline std::vector<std::pair<std::thread::id, std::string>> lines;

    static void add(const std::string& line) {
        const std::scoped_lock lock(mutex);
        lines.emplace_back(std::this_thread::get_id(), line);
    }
    static void begin(const char* name) { add(std::string("begin ") + name); }
    static void end(const char* name) { add(std::string("end ") + name); }
};

TEST_F(BackgroundLoading, task_isBracketedForTheProfiler) {
    ProfiledScopes::lines.clear();
    HookComponent::onPreload = [](const HookComponent::Config& config) { ProfiledScopes::add(config.tag); };
    setProfilerHooks({&ProfiledScopes::begin, &ProfiledScopes::end});

    loadSection(hookedSection("lamp"));
    waitForWorkers();
    setProfilerHooks({});

    std::vector<std::string> texts;
    for (const auto& [thread, text] : ProfiledScopes::lines) {
        EXPECT_EQ(thread, ProfiledScopes::lines[0].first);
        texts.push_back(text);
    }
    EXPECT_THAT(texts, ElementsAre("begin Kiln::Tessel::PrefabLoadTask::doBackgroundTask", "lamp",
                                   "end Kiln::Tessel::PrefabLoadTask::doBackgroundTask"));
}

TEST_F(BackgroundLoading, oneProfilerHook_isEnough) {
    ProfiledScopes::lines.clear();
    setProfilerHooks({nullptr, &ProfiledScopes::end});

    load("none.prefab");
    waitForWorkers();
    setProfilerHooks({});

    ASSERT_THAT(ProfiledScopes::lines, SizeIs(1));
    EXPECT_EQ(ProfiledScopes::lines[0].second, "end Kiln::Tessel::PrefabLoadTask::doBackgroundTask");
}

TEST_F(BackgroundLoading, preloadOfLoadByPath_seesOperationsOfTheCacheWalk) {
    PrefabBuilder prefab;
    prefab.root(id(1)).with<HookComponent>({"lamp"});
    cachePrefab("lamp.prefab", prefab);
    service().cachePrefabData("lamp.prefab", true);

    ASSERT_THAT(preloads(), SizeIs(1));
    EXPECT_THAT(preloads()[0].trail,
                ElementsAre(serviceEntry("cachePrefabData"), serviceEntry("cachePrefabDataInternal")));
}

} // namespace
} // namespace Kiln::TestSupport
